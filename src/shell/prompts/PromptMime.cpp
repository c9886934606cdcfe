#include "shell/prompts/PromptMime.h"

#include <QDragEnterEvent>
#include <QDragMoveEvent>
#include <QDropEvent>
#include <QMimeData>
#include <QPlainTextEdit>
#include <QTextCursor>

#include "conversation/PromptDragPayload.h"
#include "platform/Log.h"

namespace folvane {
namespace {

// Sits on the box's viewport, where its drag events arrive, and takes the
// ones that carry a prompt before the box inserts their plain text.
class PromptDropFilter final : public QObject {
  public:
    explicit PromptDropFilter(QPlainTextEdit* box) : QObject(box), box_(box) {}

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        switch (event->type()) {
            case QEvent::DragEnter:
            case QEvent::DragMove: {
                auto* drag = static_cast<QDragMoveEvent*>(event);
                if (!hasPrompt(drag->mimeData())) break;
                drag->setDropAction(Qt::CopyAction);
                drag->accept();
                return true;
            }
            case QEvent::Drop: {
                auto* drop = static_cast<QDropEvent*>(event);
                if (!hasPrompt(drop->mimeData())) break;
                try {
                    if (const auto prompt = promptFromMimeData(drop->mimeData()))
                        fillWithPrompt(box_, *prompt);
                    drop->setDropAction(Qt::CopyAction);
                    drop->accept();
                } catch (const PromptPayloadError& error) {
                    // A foreign program's drag under our format: it is refused
                    // and the box keeps what the user typed; there is nothing
                    // the user could do about it.
                    log(error.what());
                    drop->ignore();
                }
                return true;
            }
            default:
                break;
        }
        return QObject::eventFilter(watched, event);
    }

  private:
    QPlainTextEdit* box_;
};

}  // namespace

QString promptMimeType() {
    return QString::fromUtf8(promptContentType.data(), qsizetype(promptContentType.size()));
}

QMimeData* makePromptMimeData(const Prompt& prompt) {
    auto* data = new QMimeData;
    data->setData(promptMimeType(), QByteArray::fromStdString(encodePromptPayload(prompt)));
    data->setText(QString::fromStdString(prompt.prompt));
    return data;
}

bool hasPrompt(const QMimeData* data) {
    return data && data->hasFormat(promptMimeType());
}

std::optional<Prompt> promptFromMimeData(const QMimeData* data) {
    if (!hasPrompt(data)) return std::nullopt;
    return decodePromptPayload(data->data(promptMimeType()).toStdString());
}

void fillWithPrompt(QPlainTextEdit* box, const Prompt& prompt) {
    QTextCursor cursor(box->document());
    cursor.select(QTextCursor::Document);
    cursor.insertText(QString::fromStdString(prompt.prompt));
    box->setTextCursor(cursor);
    box->setFocus(Qt::OtherFocusReason);
}

void acceptPromptDrops(QPlainTextEdit* box) {
    box->viewport()->installEventFilter(new PromptDropFilter(box));
}

}  // namespace folvane
