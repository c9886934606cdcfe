#include "shell/settings/models/ModelsTab.h"

#include "conversation/AppCore.h"

namespace folvane {

ModelsTab::ModelsTab(AppCore& core, QWidget* parent) : QWidget(parent), core_(core) {
    setAccessibleName(tr("Models"));
}

ModelsTab::~ModelsTab() = default;

}  // namespace folvane
