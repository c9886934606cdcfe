#include "shell/chat/IndexingStatusView.h"

#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

namespace folvane {

IndexingStatusView::IndexingStatusView(ChatDetailRef chat, QWidget* parent)
    : QWidget(parent), chat_(std::move(chat)) {
    auto* layout = new QVBoxLayout(this);
    headline_ = new QLabel(this);
    headline_->setStyleSheet(QStringLiteral("font-weight: bold"));
    headline_->setAlignment(Qt::AlignCenter);
    progress_ = new QProgressBar(this);
    progress_->setAccessibleName(QStringLiteral("Progress"));
    detail_ = new QLabel(this);
    detail_->setWordWrap(true);
    detail_->setAlignment(Qt::AlignCenter);
    detail_->setTextFormat(Qt::PlainText);
    tryAgain_ = new QPushButton(QStringLiteral("Try Again"), this);
    tryAgain_->setAccessibleName(tryAgain_->text());
    connect(tryAgain_, &QPushButton::clicked, this,
            [this] { chat_.trigger(chat_input::LoadIndex{}); });
    layout->addWidget(headline_);
    layout->addWidget(progress_);
    layout->addWidget(detail_);
    layout->addWidget(tryAgain_, 0, Qt::AlignCenter);
    subscription_ = chat_.subscribe([this] { render(); });
    render();
}

void IndexingStatusView::render() {
    const auto& state = chat_.state();
    switch (state.loadingState) {
        case LoadingState::indexing:
        case LoadingState::indexingExtra: {
            headline_->setText(state.messages.empty()
                                   ? QStringLiteral("Preparing your chat for the first time")
                                   : QStringLiteral("Preparing your chat..."));
            progress_->setRange(0, 100);
            progress_->setValue(state.indexingProgress);
            progress_->show();
            if (state.isScannedDocument) {
                detail_->setText(
                    QStringLiteral("Scanned PDF detected. It may take up to 10 minutes..."));
            } else if (state.totalPageNumber < 501) {
                detail_->setText(QStringLiteral("It may take a while..."));
            } else {
                detail_->setText(
                    QStringLiteral("Large file detected. It may take up to 10 minutes..."));
            }
            detail_->show();
            tryAgain_->hide();
            show();
            break;
        }
        case LoadingState::loading:
            headline_->setText(QStringLiteral("Preparing your chat..."));
            progress_->setRange(0, 0);  // busy, no amount
            progress_->show();
            detail_->hide();
            tryAgain_->hide();
            show();
            break;
        case LoadingState::failed:
            headline_->setText(QStringLiteral("Failed to process your documents"));
            progress_->hide();
            detail_->setText(QString::fromStdString(state.loadingFailReason.value_or("")));
            detail_->show();
            tryAgain_->show();
            show();
            break;
        case LoadingState::none:
        case LoadingState::indexed:
        case LoadingState::loaded:
            hide();
            break;
    }
}

}  // namespace folvane
