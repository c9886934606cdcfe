#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QMenu>
#include <QScrollBar>
#include <QWheelEvent>
#include <QtTest>

#include "conversation/PageNavigator.h"
#include "shell/viewer/DocumentView.h"
#include "support/TempDir.h"
#include "support/TestPdf.h"

using namespace folvane;

namespace {

// A document whose pages hold these lines, opened for the viewer.
std::shared_ptr<PdfViewerDocument> openPages(test::TempDir& dir,
                                             const std::vector<std::vector<std::string>>& pages) {
    std::vector<test::TestPage> testPages;
    for (const auto& lines : pages) testPages.emplace_back(lines);
    const auto path = dir / "paper.pdf";
    test::writeFile(path, test::makePdfWithPages(testPages));
    return PdfViewerDocument::open(path);
}

bool yellowish(QRgb pixel) {
    return qRed(pixel) > 180 && qGreen(pixel) > 180 && qBlue(pixel) < 120;
}

// How many pixels of the rectangle are yellow-ish in the painted view.
int yellowPixels(const QImage& image, const QRect& rect) {
    int count = 0;
    const QRect inside = rect.intersected(image.rect());
    for (int y = inside.top(); y <= inside.bottom(); ++y)
        for (int x = inside.left(); x <= inside.right(); ++x)
            if (yellowish(image.pixel(x, y))) ++count;
    return count;
}

QStringList entries(QMenu* menu) {
    QStringList texts;
    for (auto* action : menu->actions())
        if (!action->isSeparator()) texts << action->text();
    return texts;
}

// Drags the mouse with the left button held, as the user selects.
void drag(DocumentView& view, QPoint from, QPoint to) {
    QTest::mousePress(view.viewport(), Qt::LeftButton, {}, from);
    QMouseEvent move(QEvent::MouseMove, QPointF(to), view.viewport()->mapToGlobal(QPointF(to)),
                     Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(view.viewport(), &move);
    QTest::mouseRelease(view.viewport(), Qt::LeftButton, {}, to);
}

// Drags over the line (in page points) from before its start to past its end.
void dragOver(DocumentView& view, int page, const PageRect& line) {
    const QRect rect = view.viewportRect(page, line);
    drag(view, {rect.left() - 3, rect.top() + 1}, {rect.right() + 3, rect.bottom() - 1});
}

void showAt(DocumentView& view, int width, int height) {
    view.resize(width, height);
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
}

}  // namespace

class DocumentViewTest : public QObject {
    Q_OBJECT
  private slots:
    void aPassageSentOnTheNavigatorIsPaintedYellowLineByLine() {
        test::TempDir dir;
        auto navigator = std::make_shared<PageNavigator>();
        DocumentView view(
            openPages(dir, {{"Cover page"},
                            {"Opening words of the page.", "The boiling point of the sample",
                             "was measured at 81 degrees.", "Closing words."},
                            {"Last page"}}),
            navigator);
        showAt(view, 500, 700);

        // Two of the passage's lines are on the page, one is not and is skipped.
        navigator->goToPage.notify(
            2, std::string("the boiling point of the sample\nnot on this page at all\n"
                           "WAS MEASURED AT 81 DEGREES."));
        QCOMPARE(view.currentPage(), 1);
        QCOMPARE(view.pageStatus(), QStringLiteral("2 of 3"));
        QCOMPARE(view.highlights().size(), size_t(2));
        for (const auto& highlight : view.highlights()) QCOMPARE(highlight.page, 1);
        QVERIFY(view.highlights()[0].rect.y1 <= view.highlights()[1].rect.y0 + 1);

        QTest::qWait(300);  // the page's image, drawn on a worker
        const QImage painted = view.viewport()->grab().toImage();
        for (const auto& highlight : view.highlights()) {
            const QRect rect = view.viewportRect(1, highlight.rect);
            QVERIFY(rect.intersects(painted.rect()));
            QVERIFY2(yellowPixels(painted, rect) > rect.width() * rect.height() / 3,
                     "the passage's line is painted yellow");
        }
        // The lines around the passage are not.
        const auto opening = view.document().search(1, "Opening words");
        QCOMPARE(yellowPixels(painted, view.viewportRect(1, opening[0].lines[0])), 0);

        // A page out of range does nothing.
        for (int page : {0, 4, -1}) {
            navigator->goToPage.notify(page, std::string("Cover page"));
            QCOMPARE(view.currentPage(), 1);
            QCOMPARE(view.highlights().size(), size_t(2));
        }
    }

    void thePageShowsItsLabelWhenTheLabelIsNotItsNumber() {
        test::TempDir dir;
        std::string pdf = test::makePdfWithPages(std::vector<test::TestPage>(4, {{"page"}}));
        const std::string catalog = "/Type /Catalog";
        pdf.replace(pdf.find(catalog), catalog.size(),
                    catalog + " /PageLabels << /Nums [0 << /S /r >> 2 << /S /D /St 3 >>] >>");
        test::writeFile(dir / "labels.pdf", pdf);
        DocumentView view(PdfViewerDocument::open(dir / "labels.pdf"), nullptr);
        view.resize(400, 500);
        const QString expected[] = {"i (1 of 4)", "ii (2 of 4)", "3 of 4", "4 of 4"};
        for (int page = 1; page <= 4; ++page) {
            view.goToPage(page);
            QCOMPARE(view.pageStatus(), expected[page - 1]);
        }
    }

    void historyAndZoomFollowTheNavigator() {
        test::TempDir dir;
        auto navigator = std::make_shared<PageNavigator>();
        std::vector<std::vector<std::string>> pages;
        for (int i = 1; i <= 8; ++i) pages.push_back({"Page " + std::to_string(i)});
        DocumentView view(openPages(dir, pages), navigator);
        showAt(view, 400, 500);

        navigator->goToPage.notify(3, std::nullopt);
        navigator->goToPage.notify(6, std::nullopt);
        navigator->goToNextPage.notify();
        QCOMPARE(view.currentPage(), 6);
        const int expected[] = {5, 2, 0, 0};
        for (int page : expected) {
            navigator->goBack.notify();
            QCOMPARE(view.currentPage(), page);
        }
        navigator->goForward.notify();
        navigator->goForward.notify();
        QCOMPARE(view.currentPage(), 5);
        navigator->goToPreviousPage.notify();
        QCOMPARE(view.currentPage(), 4);
        // A new jump drops what was ahead.
        navigator->goForward.notify();
        QCOMPARE(view.currentPage(), 4);

        const double fitted = view.zoom();
        navigator->zoomIn.notify();
        QVERIFY(view.zoom() > fitted);
        for (int i = 0; i < 30; ++i) navigator->zoomIn.notify();
        QCOMPARE(view.zoom(), DocumentView::maxZoom);
        for (int i = 0; i < 60; ++i) navigator->zoomOut.notify();
        QCOMPARE(view.zoom(), DocumentView::minZoom);
        // Zooming keeps the page in the middle of the view.
        QVERIFY(view.visiblePages().first <= 4 && view.visiblePages().second >= 4);
        view.fitToWidth();
        QCOMPARE(view.zoom(), fitted);
    }

    void keysScrollAndCtrlWheelZooms() {
        test::TempDir dir;
        std::vector<std::vector<std::string>> pages(6, {"Some page"});
        DocumentView view(openPages(dir, pages), nullptr);
        showAt(view, 400, 500);
        QScrollBar* bar = view.verticalScrollBar();
        const int step = bar->pageStep();
        const struct {
            Qt::Key key;
            Qt::KeyboardModifiers modifiers;
            int value;  // -1: the end
        } cases[] = {{Qt::Key_End, {}, -1},
                     {Qt::Key_Home, {}, 0},
                     {Qt::Key_PageDown, {}, step},
                     {Qt::Key_Space, {}, 2 * step},
                     {Qt::Key_PageUp, {}, step},
                     {Qt::Key_Space, Qt::ShiftModifier, 0},
                     {Qt::Key_Down, {}, bar->singleStep()}};
        for (const auto& c : cases) {
            QTest::keyClick(&view, c.key, c.modifiers);
            QCOMPARE(bar->value(), c.value < 0 ? bar->maximum() : c.value);
        }
        QVERIFY(view.currentPage() == 0);
        QTest::keyClick(&view, Qt::Key_End);
        QCOMPARE(view.currentPage(), 5);
        QCOMPARE(view.pageStatus(), QStringLiteral("6 of 6"));

        const double fitted = view.zoom();
        const QPointF at(200, 250);
        QWheelEvent wheel(at, view.viewport()->mapToGlobal(at), {}, {0, 120}, Qt::NoButton,
                          Qt::ControlModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(view.viewport(), &wheel);
        QCOMPARE(view.zoom(), fitted * DocumentView::zoomStep);
    }

    void atAHighZoomOnlyTheTilesInViewAreDrawn() {
        test::TempDir dir;
        auto navigator = std::make_shared<PageNavigator>();
        DocumentView view(openPages(dir, {{"Cover page"}, {"Opening words.", "Closing words."}}),
                          navigator);
        showAt(view, 500, 600);
        view.setZoom(8);
        navigator->goToPage.notify(2, std::string("closing words."));
        QCOMPARE(view.highlights().size(), size_t(1));
        QTRY_VERIFY(view.isPageDrawn(1));
        // A whole page at this zoom would take about 90 MB.
        QVERIFY2(view.cachedBytes() < 20 * 1024 * 1024,
                 qPrintable(QString::number(view.cachedBytes())));

        const QImage painted = view.viewport()->grab().toImage();
        const QRect rect =
            view.viewportRect(1, view.highlights()[0].rect).intersected(painted.rect());
        QVERIFY(!rect.isEmpty());
        int dark = 0;
        for (int y = rect.top(); y <= rect.bottom(); ++y)
            for (int x = rect.left(); x <= rect.right(); ++x)
                if (qGray(painted.pixel(x, y)) < 60) ++dark;
        // The words drawn sharp under the yellow.
        QVERIFY(yellowPixels(painted, rect) > rect.width() * rect.height() / 3);
        QVERIFY(dark > rect.width() * rect.height() / 20);
    }

    void findSelectsTheFirstMatchAndStepsThroughTheOthers() {
        test::TempDir dir;
        auto navigator = std::make_shared<PageNavigator>();
        DocumentView view(openPages(dir, {{"alpha one", "nothing"},
                                          {"nothing here"},
                                          {"Alpha two", "and ALPHA three"}}),
                          navigator);
        showAt(view, 400, 500);
        navigator->find.notify("alpha");
        QTRY_COMPARE(view.searchMatches().size(), size_t(3));
        QCOMPARE(view.selectedMatch(), 0);
        QVERIFY(!view.hasUserSelection());
        QCOMPARE(view.highlights().size(), size_t(3));

        const struct {
            int channel;  // 0 next, 1 previous, 2 the same keyword again
            int selected;
        } steps[] = {{0, 1}, {0, 2}, {0, 2}, {1, 1}, {1, 0}, {1, 0}, {2, 1}};
        for (const auto& step : steps) {
            if (step.channel == 0) navigator->findNext.notify();
            if (step.channel == 1) navigator->findPrevious.notify();
            if (step.channel == 2) navigator->find.notify("alpha");
            QCOMPARE(view.selectedMatch(), step.selected);
        }
        QCOMPARE(view.searchMatches().size(), size_t(3));  // the repeat did not search again
        QCOMPARE(view.currentPage(), 2);
        navigator->highlightSearchResultAtIndex.notify(0);
        QCOMPARE(view.selectedMatch(), 0);
        navigator->highlightSearchResultAtIndex.notify(7);
        QCOMPARE(view.selectedMatch(), 0);

        // A new keyword drops the old marks and matches.
        navigator->find.notify("nothing");
        QCOMPARE(view.searchMatches().size(), size_t(0));
        QCOMPARE(view.highlights().size(), size_t(0));
        QTRY_COMPARE(view.searchMatches().size(), size_t(2));
        for (const auto& hit : view.searchMatches()) QVERIFY(hit.pageIndex <= 1);
        navigator->find.notify("");
        QCOMPARE(view.highlights().size(), size_t(0));
        QCOMPARE(view.selectedText(), QString());
    }

    void aNewKeywordStopsTheOldSearchSoThatTheirMatchesNeverMix() {
        test::TempDir dir;
        std::vector<std::vector<std::string>> pages(300, {"alpha on every page"});
        pages[0].push_back("beta once");
        DocumentView view(openPages(dir, pages), nullptr);
        showAt(view, 400, 500);
        view.find("alpha");
        view.find("beta");
        QTRY_COMPARE(view.searchMatches().size(), size_t(1));
        QTest::qWait(300);
        QCOMPARE(view.searchMatches().size(), size_t(1));
        QCOMPARE(view.searchMatches()[0].pageIndex, 0);
        QCOMPARE(view.highlights().size(), size_t(1));
        QCOMPARE(view.selectedText(), QStringLiteral("beta"));
    }

    void theContextMenuOffersTheUsersSelectionFromElevenCharacters() {
        test::TempDir dir;
        DocumentView view(openPages(dir, {{"abcdefghij", "abcdefghijk", "Closing line here"}}),
                          nullptr);
        showAt(view, 500, 700);
        const auto lineOf = [&](const char* text) {
            return view.document().search(0, text)[0].lines[0];
        };
        const QString page = QStringLiteral("Use page content as context");
        const QString selection = QStringLiteral("Use highlighted text as context");

        const struct {
            const char* line;
            QStringList offered;
        } cases[] = {{"abcdefghij", {page}}, {"abcdefghijk", {page, selection}}};
        for (const auto& c : cases) {
            dragOver(view, 0, lineOf(c.line));
            QVERIFY(view.hasUserSelection());
            QCOMPARE(view.selectedText(), QString::fromLatin1(c.line));
            std::unique_ptr<QMenu> menu(view.makeContextMenu(nullptr));
            QCOMPARE(entries(menu.get()).mid(0, c.offered.size()), c.offered);
            QCOMPARE(entries(menu.get()).contains(selection), c.offered.contains(selection));
        }
        // Within a line the drag takes the characters it went over.
        const auto layout = view.document().pageTextLayout(0);
        QCOMPARE(QString::fromStdString(layout[2].text()), QStringLiteral("Closing line here"));
        const auto& chars = layout[2].chars;
        const QPointF from((chars[8].box.x0 + chars[8].box.x1) / 2, chars[8].box.y0 + 2);
        const QPointF to((chars[11].box.x0 + chars[11].box.x1) / 2, chars[11].box.y1 - 2);
        const QRect fromTo = view.viewportRect(0, PageRect{from.x(), from.y(), to.x(), to.y()});
        drag(view, fromTo.topLeft(), fromTo.bottomRight());
        QVERIFY2(view.selectedText().contains("in") && !view.selectedText().contains("Closing"),
                 qPrintable(view.selectedText()));
        dragOver(view, 0, lineOf("abcdefghijk"));

        QTest::keySequence(&view, QKeySequence::Copy);
        QCOMPARE(QApplication::clipboard()->text(), QStringLiteral("abcdefghijk"));

        QStringList sent;
        connect(&view, &DocumentView::useAsContext, this, [&](const QString& t) { sent << t; });
        std::unique_ptr<QMenu> menu(view.makeContextMenu(nullptr));
        menu->actions()[1]->trigger();
        menu->actions()[0]->trigger();
        QCOMPARE(sent.size(), 2);
        QCOMPARE(sent[0], QStringLiteral("abcdefghijk"));
        QVERIFY(sent[1].contains("abcdefghij\n") && sent[1].contains("Closing line here"));

        // A search's match is no selection of the user's, long as it is.
        view.find("Closing line here");
        QTRY_COMPARE(view.selectedMatch(), 0);
        QVERIFY(!view.hasUserSelection());
        menu.reset(view.makeContextMenu(nullptr));
        QVERIFY(!entries(menu.get()).contains(selection));
    }
};

QTEST_MAIN(DocumentViewTest)
#include "DocumentViewTest.moc"
