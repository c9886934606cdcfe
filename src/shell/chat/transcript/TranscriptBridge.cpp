#include "shell/chat/transcript/TranscriptBridge.h"

#include <QByteArray>
#include <QStringDecoder>

namespace folvane {

void TranscriptBridge::renderedContentHandler(const QString& key, const QString& base64) {
    // Text that is not base64 of UTF-8 is dropped.
    auto decoded =
        QByteArray::fromBase64Encoding(base64.toLatin1(), QByteArray::AbortOnBase64DecodingErrors);
    if (!decoded) return;
    QStringDecoder toUtf16(QStringDecoder::Utf8);
    QString text = toUtf16(*decoded);
    if (toUtf16.hasError()) return;
    emit rendered(key, text);
}

}  // namespace folvane
