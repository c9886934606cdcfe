#include <QtTest>

#include "shell/viewer/PageLayout.h"

using namespace folvane;

class PageLayoutTest : public QObject {
    Q_OBJECT
  private slots:
    // Three pages of 100 x 200 points at zoom 1: tops at 10, 220, 430.
    void pointsInPagesAndGapsFallOnTheRightPage() {
        PageLayout layout;
        layout.setPages({{100, 200}, {100, 200}, {100, 200}});
        layout.update(1, 400);
        QCOMPARE(layout.contentSize(), QSize(400, 10 + 3 * 200 + 2 * 10 + 10));
        const struct {
            int y;
            int page;
        } cases[] = {{0, 0}, {10, 0}, {209, 0}, {210, 1}, {219, 1}, {220, 1}, {629, 2}, {5000, 2}};
        for (const auto& c : cases) QCOMPARE(layout.pageAt(c.y), c.page);
        QCOMPARE(layout.pagesBetween(0, 215), std::make_pair(0, 0));
        QCOMPARE(layout.pagesBetween(100, 230), std::make_pair(0, 1));
        QCOMPARE(layout.pagesBetween(300, 9000), std::make_pair(1, 2));
    }

    void pagesAreCentredAndMappedBothWaysAtAZoom() {
        PageLayout layout;
        layout.setPages({{100, 100}, {300, 100}});
        layout.update(2, 400);
        // The wide page at zoom 2 is wider than the viewport: the content grows.
        QCOMPARE(layout.contentSize().width(), 600 + 2 * PageLayout::margin);
        const QRect narrow = layout.pageRect(0);
        QCOMPARE(narrow.width(), 200);
        QCOMPARE(narrow.x(), (layout.contentSize().width() - 200) / 2);
        const QRect wide = layout.pageRect(1);
        QCOMPARE(wide.top(), PageLayout::margin + 200 + PageLayout::gap);
        const QRectF mapped = layout.toContent(1, PageRect{10, 20, 60, 30});
        QCOMPARE(mapped, QRectF(wide.x() + 20, wide.y() + 40, 100, 20));
        QCOMPARE(layout.toPage(1, mapped.topLeft()), QPointF(10, 20));
    }

    void fitWidthFollowsTheWidestPage() {
        PageLayout layout;
        layout.setPages({{100, 100}, {200, 100}});
        QCOMPARE(layout.fitWidthZoom(220), 1.0);
        QCOMPARE(layout.fitWidthZoom(420), 2.0);
        PageLayout empty;
        QCOMPARE(empty.pageAt(10), -1);
        QCOMPARE(empty.fitWidthZoom(300), 1.0);
    }
};

QTEST_MAIN(PageLayoutTest)
#include "PageLayoutTest.moc"
