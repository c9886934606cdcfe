// The document viewer, offscreen (QT_QPA_PLATFORM=offscreen).
//
// Reference: from a followed page reference, with the document open, to the
// page drawn with its highlight, against a bare drawing of the same page at
// the same zoom, from a freshly opened document, in the same run (goal: at
// most 100 ms). Memory: resident size while scrolling a screen at a time
// through 1,000 pages, each screen drawn: the peak against the size at page
// 100, when the page cache is full (goal: bounded, a ratio of about 1).
#include <unistd.h>

#include <QApplication>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QScrollBar>
#include <algorithm>
#include <cstdio>
#include <fstream>
#include <vector>

#include "conversation/PageNavigator.h"
#include "conversation/ViewModel.h"
#include "platform/FileUrl.h"
#include "shell/viewer/DocumentPane.h"
#include "shell/viewer/DocumentView.h"
#include "support/TempDir.h"
#include "support/WordsPdf.h"

using namespace folvane;

namespace {

class BenchChat final : public PublishingViewModel<ChatDetailState, ChatDetailInput> {
  public:
    BenchChat() : PublishingViewModel(ChatDetailState{}) {}
    void trigger(ChatDetailInput) override {}
    void set(const std::function<void(ChatDetailState&)>& change) { updateState(change); }
};

// Spins the event loop until done() holds; false after 20 seconds.
template <typename Done>
bool spinUntil(Done done) {
    QElapsedTimer timer;
    timer.start();
    while (!done()) {
        if (timer.elapsed() > 20000) return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
    }
    return true;
}

double residentMegabytes() {
    std::ifstream statm("/proc/self/statm");
    long pages = 0, resident = 0;
    statm >> pages >> resident;
    return resident * double(sysconf(_SC_PAGESIZE)) / (1024 * 1024);
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

void referenceToHighlight(const std::filesystem::path& path) {
    auto chat = std::make_shared<BenchChat>();
    chat->set([&](ChatDetailState& s) {
        DocumentInfo info;
        info.bookmark.id = 1;
        info.fileUrl = fileUrlFromPath(path.string());
        s.conversation.bookmarkId = 1;
        s.allDocuments = {info};
    });
    DocumentPane pane{ChatDetailRef(chat)};
    pane.resize(700, 900);
    pane.show();
    DocumentView& view = *pane.view();
    PdfViewerDocument& document = view.document();
    std::vector<double> jumps, baselines;
    for (int page = 20; page < 60; page += 4) {
        // The cited passage: two lines from the middle of the page.
        QStringList lines = QString::fromStdString(document.pageText(page)).split('\n');
        const std::string passage = (lines.value(10) + "\n" + lines.value(11)).toStdString();
        chat->set([&](ChatDetailState& s) { s.highlightedText = passage; });
        QElapsedTimer timer;
        timer.start();
        chat->state().pageNavigator->goToReference()(Reference{"chunk", 1, page + 1, std::nullopt});
        if (!spinUntil([&] { return view.isPageDrawn(page); })) return;
        view.viewport()->repaint();
        jumps.push_back(timer.nsecsElapsed() / 1e6);
        if (view.highlights().empty()) std::printf("page %d: no highlight\n", page + 1);

        // The baseline draws the page from a document of its own, opened
        // anew, so that no recorded page is at hand.
        auto fresh = PdfViewerDocument::open(path);
        timer.restart();
        auto bare = fresh->render(page, view.zoom() * view.devicePixelRatioF());
        baselines.push_back(timer.nsecsElapsed() / 1e6);
        if (!bare) return;
    }
    const double jump = median(jumps), baseline = median(baselines);
    std::printf(
        "reference to painted highlight: median %.1f ms, bare page drawing %.1f ms, ratio %.2f "
        "(goal: at most 100 ms)\n",
        jump, baseline, jump / baseline);
}

void scrollThrough(const std::filesystem::path& path) {
    DocumentView view(PdfViewerDocument::open(path), nullptr);
    view.resize(700, 900);
    view.show();
    auto drawn = [&] {
        const auto [first, last] = view.visiblePages();
        for (int page = first; page <= last; ++page)
            if (!view.isPageDrawn(page)) return false;
        return true;
    };
    if (!spinUntil(drawn)) return;
    const double first = residentMegabytes();
    double peak = first;
    QElapsedTimer timer;
    timer.start();
    QScrollBar* bar = view.verticalScrollBar();
    int screens = 0;
    double afterTenth = 0;
    while (bar->value() < bar->maximum()) {
        bar->setValue(bar->value() + bar->pageStep());
        if (!spinUntil(drawn)) return;
        peak = std::max(peak, residentMegabytes());
        ++screens;
        if (afterTenth == 0 && view.currentPage() >= 100) afterTenth = peak;
    }
    std::printf(
        "scrolling 1,000 pages (%d screens, %.1f s): resident %.0f MB after the first screen, "
        "%.0f MB at page 100, peak %.0f MB; peak against page 100: ratio %.2f (goal: bounded, "
        "about 1; the page cache holds at most %lld MB)\n",
        screens, timer.elapsed() / 1000.0, first, afterTenth, peak, peak / afterTenth,
        static_cast<long long>(DocumentView::cacheBytes / (1024 * 1024)));
}

}  // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    test::TempDir dir;
    const auto small = dir / "hundred.pdf";
    test::writeFile(small, bench::makeWordsPdf(100, 40, 10, 7));
    referenceToHighlight(small);
    const auto large = dir / "thousand.pdf";
    test::writeFile(large, bench::makeWordsPdf(1000, 40, 10, 11));
    scrollThrough(large);
    return 0;
}
