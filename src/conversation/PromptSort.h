#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "store/Prompt.h"

namespace folvane {

// The columns by which the prompt library's table sorts.
enum class PromptSortKey { name, prompt, enable, sortOrder };

std::string rawValue(PromptSortKey key);
std::optional<PromptSortKey> promptSortKeyFromRaw(std::string_view raw);

// Sorts by one column, keeping the list order of equal rows. Texts compare as
// a person reads them in the user's locale: case aside, digits by their value
// ("Step 2" before "Step 10"); switches off before on.
void sortPrompts(std::vector<Prompt>& prompts, PromptSortKey key, bool ascending = true);

}  // namespace folvane
