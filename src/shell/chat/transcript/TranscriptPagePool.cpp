#include "shell/chat/transcript/TranscriptPagePool.h"

#include "shell/chat/transcript/TranscriptBridge.h"
#include "shell/chat/transcript/TranscriptPage.h"

namespace folvane {

TranscriptPagePool::~TranscriptPagePool() {
    delete spare_.data();
}

void TranscriptPagePool::prepare() {
    if (!spare_) spare_ = new TranscriptPage(nullptr);
}

bool TranscriptPagePool::hasReadySpare() const {
    return spare_ && spare_->bridge()->isReady();
}

TranscriptPage* TranscriptPagePool::take(QObject* parent) {
    TranscriptPage* page = spare_ ? spare_.data() : new TranscriptPage(parent);
    page->setParent(parent);
    spare_.clear();
    return page;
}

}  // namespace folvane
