#pragma once

#include <QUrl>
#include <functional>

class QMessageBox;
class QWidget;

namespace folvane {

// Our guide to an OpenAI account without quota, behind "Read Guide".
QUrl quotaGuideUrl();

// The alert of a key whose account has no quota left: "Read Guide" opens the
// guide, "Cancel" just closes. Opens window-modal and deletes itself once
// closed, after calling `closed`.
QMessageBox* openQuotaAlert(QWidget* parent, std::function<void()> closed);

}  // namespace folvane
