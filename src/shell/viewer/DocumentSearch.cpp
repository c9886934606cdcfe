#include "shell/viewer/DocumentSearch.h"

#include <QPointer>
#include <QThreadPool>
#include <mutex>

namespace folvane {

// One search as its worker sees it. The main thread clears `receiver` under
// the lock when the search is cancelled, so that nothing is posted after.
struct DocumentSearch::Run {
    std::mutex mutex;
    DocumentSearch* receiver = nullptr;
    SearchCancel cancel;
};

DocumentSearch::DocumentSearch(std::shared_ptr<PdfViewerDocument> document, QObject* parent)
    : QObject(parent), document_(std::move(document)) {}

DocumentSearch::~DocumentSearch() {
    cancel();
}

void DocumentSearch::cancel() {
    if (run_) {
        run_->cancel.cancel();
        std::lock_guard lock(run_->mutex);
        run_->receiver = nullptr;
    }
    run_.reset();
    running_ = false;
}

void DocumentSearch::start(const std::string& keyword) {
    cancel();
    run_ = std::make_shared<Run>();
    run_->receiver = this;
    running_ = true;
    auto post = [run = run_](auto deliver) {
        std::lock_guard lock(run->mutex);
        if (!run->receiver) return false;
        DocumentSearch* self = run->receiver;
        QMetaObject::invokeMethod(self, [self, run, deliver] {
            // Cancelled after this was posted: dropped.
            if (self->run_ != run) return;
            deliver(self);
        });
        return true;
    };
    QThreadPool::globalInstance()->start([document = document_, keyword, post, run = run_] {
        document->searchDocument(
            keyword,
            [&](const PageHit& hit) {
                return post([hit](DocumentSearch* self) { emit self->found(hit); });
            },
            run->cancel);
        post([](DocumentSearch* self) {
            self->running_ = false;
            emit self->finished();
        });
    });
}

}  // namespace folvane
