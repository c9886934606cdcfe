#include "shell/chat/transcript/TranscriptPagePool.h"

#include <QCoreApplication>
#include <QWebEngineProfile>
#include <algorithm>
#include <vector>

#include "shell/chat/transcript/TranscriptBridge.h"
#include "shell/chat/transcript/TranscriptPage.h"

namespace folvane {

namespace {

// The pools whose spare pages go at the application's end.
std::vector<QPointer<TranscriptPagePool>>& poolsWithSpares() {
    static std::vector<QPointer<TranscriptPagePool>> pools;
    return pools;
}

}  // namespace

TranscriptPagePool::TranscriptPagePool(QWebEngineProfile* profile)
    : QObject(profile), profile_(profile) {
    setObjectName(QStringLiteral("transcriptPagePool"));
    // A page must go before the web engine shuts down.
    connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, this,
            [this] { delete spare_.data(); });
}

TranscriptPagePool& TranscriptPagePool::forDefaultProfile() {
    auto* profile = QWebEngineProfile::defaultProfile();
    if (auto* pool = profile->findChild<TranscriptPagePool*>(QString(), Qt::FindDirectChildrenOnly))
        return *pool;
    return *new TranscriptPagePool(profile);
}

void TranscriptPagePool::dropSpares() {
    for (const auto& pool : poolsWithSpares())
        if (pool) delete pool->spare_.data();
    poolsWithSpares().clear();
}

void TranscriptPagePool::prepare() {
    if (spare_) return;
    // Without an event loop's end (a test, say) the spare goes in a routine
    // of the application object's end; routines added later run earlier, so
    // this one runs before the web engine's own.
    if (poolsWithSpares().empty()) qAddPostRoutine(&TranscriptPagePool::dropSpares);
    auto& pools = poolsWithSpares();
    if (std::find(pools.begin(), pools.end(), this) == pools.end()) pools.emplace_back(this);
    spare_ = new TranscriptPage(this);
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
