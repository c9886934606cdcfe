#pragma once

#include <QObject>
#include <atomic>
#include <memory>
#include <string>

#include "documents/PdfViewerDocument.h"

namespace folvane {

// A search of the whole document on a worker thread. Each match reaches the
// main thread as `found`, in document order, as it is found. Starting another
// search or cancelling stops the running one: none of its matches arrive
// after that, so the matches of two keywords never mix.
class DocumentSearch final : public QObject {
    Q_OBJECT
  public:
    explicit DocumentSearch(std::shared_ptr<PdfViewerDocument> document, QObject* parent = nullptr);
    ~DocumentSearch() override;

    void start(const std::string& keyword);
    void cancel();
    bool isRunning() const { return running_; }

  signals:
    void found(const folvane::PageHit& hit);
    void finished();

  private:
    struct Run;

    std::shared_ptr<PdfViewerDocument> document_;
    std::shared_ptr<Run> run_;
    bool running_ = false;
};

}  // namespace folvane
