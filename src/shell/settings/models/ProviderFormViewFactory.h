#pragma once

#include <memory>

#include "shell/settings/models/ProviderFormView.h"

namespace folvane {

// The view of a form kind over its view model. The key modal is not a form
// of the Models tab: it gets the custom server's form like any unknown kind.
std::unique_ptr<ProviderFormView> makeProviderFormView(ProviderForm form,
                                                       std::unique_ptr<ProviderFormRef> viewModel,
                                                       AppPreferences& preferences,
                                                       QWidget* parent = nullptr);

}  // namespace folvane
