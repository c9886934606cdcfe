#include "shell/settings/models/QuotaAlert.h"

#include <QDesktopServices>
#include <QMessageBox>
#include <QPushButton>

#include "providers/OpenAISettings.h"

namespace folvane {

QUrl quotaGuideUrl() {
    return QUrl(QString::fromLatin1(provider_endpoints::productWebAddress) +
                QStringLiteral("/guides/openai-quota"));
}

QMessageBox* openQuotaAlert(QWidget* parent, std::function<void()> closed) {
    auto* alert =
        new QMessageBox(QMessageBox::Warning, QStringLiteral("OpenAI Rejected This API Key"),
                        QStringLiteral("Error: You exceeded your current quota, please "
                                       "check your plan and billing details.\n\nClick "
                                       "the button below to fix."),
                        QMessageBox::NoButton, parent);
    alert->setAttribute(Qt::WA_DeleteOnClose);
    auto* guide = alert->addButton(QStringLiteral("Read Guide"), QMessageBox::AcceptRole);
    auto* cancel = alert->addButton(QStringLiteral("Cancel"), QMessageBox::RejectRole);
    guide->setAccessibleName(guide->text());
    cancel->setAccessibleName(cancel->text());
    alert->setDefaultButton(guide);
    alert->setEscapeButton(cancel);
    QObject::connect(alert, &QMessageBox::finished, alert, [alert, guide, closed] {
        if (alert->clickedButton() == guide) QDesktopServices::openUrl(quotaGuideUrl());
        if (closed) closed();
    });
    alert->open();
    return alert;
}

}  // namespace folvane
