#include "shell/chat/transcript/TranscriptBridge.h"

#include <QByteArray>
#include <QStringDecoder>
#include <optional>

namespace folvane {

namespace {

// Text that is not base64 of UTF-8 is dropped.
std::optional<QString> decode(const QString& base64) {
    auto decoded =
        QByteArray::fromBase64Encoding(base64.toLatin1(), QByteArray::AbortOnBase64DecodingErrors);
    if (!decoded) return std::nullopt;
    QStringDecoder toUtf16(QStringDecoder::Utf8);
    QString text = toUtf16(*decoded);
    if (toUtf16.hasError()) return std::nullopt;
    return text;
}

}  // namespace

void TranscriptBridge::renderedContentHandler(const QString& key, const QString& base64) {
    if (auto text = decode(base64)) emit rendered(key, *text);
}

void TranscriptBridge::renderedContentTailHandler(const QString& key, int kept,
                                                  const QString& base64) {
    if (kept < 0) return;
    if (auto text = decode(base64)) emit renderedTail(key, kept, *text);
}

void TranscriptBridge::sizesChangeHandler(const QJsonObject& heights) {
    for (auto it = heights.begin(); it != heights.end(); ++it)
        if (it.value().isDouble()) emit sizeChanged(it.key(), it.value().toDouble());
}

}  // namespace folvane
