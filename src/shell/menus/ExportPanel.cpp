#include "shell/menus/ExportPanel.h"

#include <QFileDialog>
#include <QUrl>

#include "conversation/ChatExporter.h"
#include "platform/Log.h"

namespace folvane {
namespace {

QString typeName(ChatExportFormat format) {
    switch (format) {
        case ChatExportFormat::markdown:
            return QStringLiteral("Markdown");
        case ChatExportFormat::json:
            return QStringLiteral("JSON");
        case ChatExportFormat::html:
            return QStringLiteral("HTML");
    }
    return {};
}

}  // namespace

ExportPanel::Request ExportPanel::request(ChatExportFormat format) {
    const QString suffix =
        QString::fromUtf8(fileExtension(format).data(), qsizetype(fileExtension(format).size()));
    return Request{
        .title = QString::fromUtf8(exportPanelTitle(format).data(),
                                   qsizetype(exportPanelTitle(format).size())),
        .defaultName = QString::fromStdString(ChatExporter::defaultFileName()),
        .nameFilter = QStringLiteral("%1 (*.%2)").arg(typeName(format), suffix),
        .suffix = suffix,
    };
}

void ExportPanel::open(QWidget* parent, ChatDetailRef chat, ChatExportFormat format,
                       const ChooseSavePath& choose, Reveal reveal) {
    choose(parent, request(format),
           [chat, format, reveal = std::move(reveal)](const QString& path) {
               try {
                   ChatExporter::write(format, chat.state().messages, path.toStdString());
               } catch (const std::exception& error) {
                   // The user chose the place and sees no file there: a failed
                   // export shows nothing else, and only the log keeps why.
                   log(std::string("export: ") + error.what());
                   return;
               }
               if (reveal) reveal(QUrl::fromLocalFile(path).toString());
           });
}

void ExportPanel::chooseWithDialog(QWidget* parent, const Request& request,
                                   std::function<void(const QString& path)> chosen) {
    auto* dialog = new QFileDialog(parent, request.title);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    // A window of its own: the chat stays usable while the panel is open.
    dialog->setWindowModality(Qt::NonModal);
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setFileMode(QFileDialog::AnyFile);
    dialog->setNameFilter(request.nameFilter);
    dialog->setDefaultSuffix(request.suffix);
    dialog->selectFile(request.defaultName);
    QObject::connect(dialog, &QFileDialog::fileSelected, dialog,
                     [chosen = std::move(chosen)](const QString& path) { chosen(path); });
    dialog->show();
}

}  // namespace folvane
