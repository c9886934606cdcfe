#include "conversation/PromptSort.h"

#include <unicode/coll.h>

#include <algorithm>
#include <array>
#include <memory>
#include <utility>

#include "platform/Log.h"

namespace folvane {

namespace {

constexpr std::array<std::pair<PromptSortKey, std::string_view>, 4> rawValues{{
    {PromptSortKey::name, "name"},
    {PromptSortKey::prompt, "prompt"},
    {PromptSortKey::enable, "enable"},
    {PromptSortKey::sortOrder, "sortOrder"},
}};

std::unique_ptr<icu::Collator> readersCollator() {
    UErrorCode status = U_ZERO_ERROR;
    // The C locale reads as en_US_POSIX, whose collation puts every capital
    // first; it names no language, so the root collation stands in for it.
    const icu::Locale& locale = icu::Locale::getDefault();
    const bool posix = std::string_view(locale.getVariant()) == "POSIX";
    std::unique_ptr<icu::Collator> collator(
        icu::Collator::createInstance(posix ? icu::Locale::getRoot() : locale, status));
    if (U_FAILURE(status)) return nullptr;
    collator->setStrength(icu::Collator::SECONDARY);
    collator->setAttribute(UCOL_NUMERIC_COLLATION, UCOL_ON, status);
    return collator;
}

}  // namespace

std::string rawValue(PromptSortKey key) {
    for (const auto& [value, raw] : rawValues) {
        if (value == key) return std::string(raw);
    }
    return {};
}

std::optional<PromptSortKey> promptSortKeyFromRaw(std::string_view raw) {
    for (const auto& [value, text] : rawValues) {
        if (text == raw) return value;
    }
    return std::nullopt;
}

void sortPrompts(std::vector<Prompt>& prompts, PromptSortKey key, bool ascending) {
    const auto collator = readersCollator();
    // Without ICU's collator data the texts still sort, by their bytes: a
    // table in a rougher order is better than none.
    if (!collator && (key == PromptSortKey::name || key == PromptSortKey::prompt))
        log("PromptSort: no collator for the locale; sorting by bytes");
    const auto compareText = [&](const std::string& a, const std::string& b) {
        if (!collator) return a.compare(b);
        UErrorCode status = U_ZERO_ERROR;
        const auto order = collator->compareUTF8(a, b, status);
        return U_FAILURE(status) ? a.compare(b) : int(order);
    };
    const auto compare = [&](const Prompt& a, const Prompt& b) {
        switch (key) {
            case PromptSortKey::name:
                return compareText(a.name, b.name);
            case PromptSortKey::prompt:
                return compareText(a.prompt, b.prompt);
            case PromptSortKey::enable:
                return int(a.enable) - int(b.enable);
            case PromptSortKey::sortOrder:
                return a.sortOrder < b.sortOrder ? -1 : a.sortOrder > b.sortOrder ? 1 : 0;
        }
        return 0;
    };
    std::stable_sort(prompts.begin(), prompts.end(), [&](const Prompt& a, const Prompt& b) {
        const int order = compare(a, b);
        return ascending ? order < 0 : order > 0;
    });
}

}  // namespace folvane
