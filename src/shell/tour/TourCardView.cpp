#include "shell/tour/TourCardView.h"

#include <QAccessible>
#include <QEvent>
#include <QGraphicsDropShadowEffect>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPainter>
#include <QPainterPath>
#include <QPushButton>
#include <QVBoxLayout>
#include <algorithm>

namespace folvane {
namespace {

constexpr int cardWidth = 340;
constexpr int arrowHeight = 10;
constexpr int arrowHalfWidth = 10;
constexpr int radius = 8;
constexpr int padding = 14;
constexpr int windowMargin = 8;

QString arrowed(const std::string& label) {
    return QString::fromStdString(label) + QStringLiteral(" \u2192");
}

}  // namespace

TourCardView::TourCardView(QWidget* window)
    : QFrame(window),
      title_(new QLabel(this)),
      message_(new QLabel(this)),
      end_(new QPushButton(
          QString::fromUtf8(OnboardingTour::endLabel.data(), int(OnboardingTour::endLabel.size())),
          this)),
      continue_(new QPushButton(this)) {
    setAttribute(Qt::WA_TranslucentBackground);
    setFixedWidth(cardWidth);
    QFont bold = title_->font();
    bold.setBold(true);
    title_->setFont(bold);
    title_->setWordWrap(true);
    message_->setWordWrap(true);
    message_->setTextFormat(Qt::PlainText);
    title_->setTextFormat(Qt::PlainText);

    end_->setAccessibleName(end_->text());
    for (QPushButton* button : {end_, continue_}) {
        button->setFocusPolicy(Qt::StrongFocus);
        // Return presses the button that has the focus, as in a dialog.
        button->setAutoDefault(true);
    }
    continue_->setDefault(true);

    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(end_);
    buttons->addWidget(continue_);
    auto* layout = new QVBoxLayout(this);
    layout->setSpacing(8);
    layout->addWidget(title_);
    layout->addWidget(message_);
    layout->addLayout(buttons);

    auto* shadow = new QGraphicsDropShadowEffect(this);
    shadow->setBlurRadius(18);
    shadow->setOffset(0, 2);
    shadow->setColor(QColor(0, 0, 0, 90));
    setGraphicsEffect(shadow);

    connect(continue_, &QPushButton::clicked, this, [this] { finish(&TourCardView::continued); });
    connect(end_, &QPushButton::clicked, this, [this] { finish(&TourCardView::ended); });
    window->installEventFilter(this);
    hide();
}

void TourCardView::present(TourCard card, QWidget* anchor, Side side, Target target) {
    const TourCardText text = OnboardingTour::text(card);
    card_ = card;
    side_ = side;
    target_ = std::move(target);
    if (anchor_ != anchor) {
        for (QWidget* w = anchor_; w && w != parentWidget(); w = w->parentWidget()) {
            w->removeEventFilter(this);
        }
        anchor_ = anchor;
        // The anchor moves when it or any of its containers does.
        for (QWidget* w = anchor; w && w != parentWidget(); w = w->parentWidget()) {
            w->installEventFilter(this);
        }
    }
    title_->setText(QString::fromStdString(text.title));
    message_->setText(QString::fromStdString(text.message));
    continue_->setText(arrowed(text.continueLabel));
    continue_->setAccessibleName(QString::fromStdString(text.continueLabel));
    setAccessibleName(title_->text());
    setAccessibleDescription(message_->text());
    title_->setAccessibleName(title_->text());
    message_->setAccessibleName(message_->text());

    // Tab from the anchor goes to the confirming button, then to "End tour".
    if (anchor->focusPolicy() & Qt::TabFocus) {
        QWidget::setTabOrder(anchor, continue_);
        QWidget::setTabOrder(continue_, end_);
    }
    place();
    show();
    raise();
    QAccessibleEvent shown(this, QAccessible::Alert);
    QAccessible::updateAccessibility(&shown);
}

void TourCardView::withdraw() {
    card_ = TourCard::none;
    hide();
}

void TourCardView::finish(void (TourCardView::*signal)(TourCard)) {
    const TourCard card = card_;
    if (card == TourCard::none) return;
    withdraw();
    if (anchor_ && anchor_->isVisible() && (anchor_->focusPolicy() & Qt::TabFocus)) {
        anchor_->setFocus(Qt::OtherFocusReason);
    }
    emit(this->*signal)(card);
}

bool TourCardView::eventFilter(QObject* watched, QEvent* event) {
    if (isPresented()) {
        switch (event->type()) {
            case QEvent::Resize:
            case QEvent::Move:
            case QEvent::Show:
            case QEvent::LayoutRequest:
                place();
                break;
            default:
                break;
        }
    }
    return QFrame::eventFilter(watched, event);
}

void TourCardView::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape) {
        finish(&TourCardView::closed);
        return;
    }
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        continue_->click();
        return;
    }
    QFrame::keyPressEvent(event);
}

void TourCardView::place() {
    QWidget* window = parentWidget();
    if (!anchor_ || !window) return;
    QRect area = target_ ? target_() : QRect();
    if (area.isEmpty()) area = anchor_->rect();
    area = QRect(anchor_->mapTo(window, area.topLeft()), area.size());

    hasArrow_ = side_ != Side::inside;
    bool below = side_ != Side::above;
    const int arrow = hasArrow_ ? arrowHeight : 0;
    // The height the words need, with the arrow's room (on either side).
    setContentsMargins(0, arrow, 0, 0);
    layout()->setContentsMargins(padding, padding, padding, padding);
    const int height = layout()->totalHeightForWidth(cardWidth);

    int y = 0;
    if (side_ == Side::inside) {
        y = area.top() + std::max(windowMargin, area.height() / 6);
    } else {
        const bool roomBelow = area.bottom() + height <= window->height() - windowMargin;
        const bool roomAbove = area.top() - height >= windowMargin;
        if (below && !roomBelow && roomAbove) below = false;
        if (!below && !roomAbove && roomBelow) below = true;
        y = below ? area.bottom() + 1 : area.top() - height;
    }
    arrowOnTop_ = below;
    setContentsMargins(0, arrowOnTop_ ? arrow : 0, 0, arrowOnTop_ ? 0 : arrow);
    const int maxX = std::max(windowMargin, window->width() - cardWidth - windowMargin);
    const int x = std::clamp(area.center().x() - cardWidth / 2, windowMargin, maxX);
    y = std::clamp(y, windowMargin, std::max(windowMargin, window->height() - height));
    arrowX_ = std::clamp(area.center().x() - x, radius + arrowHalfWidth,
                         cardWidth - radius - arrowHalfWidth);
    setGeometry(x, y, cardWidth, height);
    update();
}

void TourCardView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const int arrow = hasArrow_ ? arrowHeight : 0;
    const QRectF body = QRectF(rect()).adjusted(0.5, arrowOnTop_ ? arrow + 0.5 : 0.5, -0.5,
                                                arrowOnTop_ ? -0.5 : -arrow - 0.5);
    QPainterPath path;
    path.addRoundedRect(body, radius, radius);
    if (hasArrow_) {
        QPainterPath tip;
        const qreal edge = arrowOnTop_ ? body.top() + 1 : body.bottom() - 1;
        const qreal point = arrowOnTop_ ? 0.5 : height() - 0.5;
        tip.moveTo(arrowX_ - arrowHalfWidth, edge);
        tip.lineTo(arrowX_, point);
        tip.lineTo(arrowX_ + arrowHalfWidth, edge);
        tip.closeSubpath();
        path = path.united(tip);
    }
    // Lighter than what it stands on: in a dark scheme the lists and the
    // transcript are darker than the window itself.
    const QColor window = palette().color(QPalette::Window);
    const bool dark = window.lightness() < 128;
    painter.setPen(QPen(dark ? window.lighter(190) : palette().color(QPalette::Mid), 1));
    painter.setBrush(dark ? window.lighter(140) : palette().color(QPalette::Base));
    painter.drawPath(path);
}

}  // namespace folvane
