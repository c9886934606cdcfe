#include "shell/chat/transcript/TranscriptPagePool.h"

#include <QCoreApplication>
#include <QWebEngineProfile>

#include "shell/chat/transcript/TranscriptBridge.h"
#include "shell/chat/transcript/TranscriptPage.h"

namespace folvane {

TranscriptPagePool::TranscriptPagePool(QWebEngineProfile* profile)
    : QObject(profile), profile_(profile) {
    setObjectName(QStringLiteral("transcriptPagePool"));
}

TranscriptPagePool& TranscriptPagePool::forDefaultProfile() {
    auto* profile = QWebEngineProfile::defaultProfile();
    if (auto* pool = profile->findChild<TranscriptPagePool*>(QString(), Qt::FindDirectChildrenOnly))
        return *pool;
    // A page must go before the web engine shuts down at the application's
    // end; routines added later run earlier, so this one runs before the
    // engine's own.
    qAddPostRoutine(&TranscriptPagePool::dropSpares);
    return *new TranscriptPagePool(profile);
}

void TranscriptPagePool::dropSpares() {
    auto* profile = QWebEngineProfile::defaultProfile();
    if (auto* pool = profile->findChild<TranscriptPagePool*>(QString(), Qt::FindDirectChildrenOnly))
        delete pool->spare_.data();
}

void TranscriptPagePool::prepare() {
    if (!spare_) spare_ = new TranscriptPage(this);
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
