#include "documents/Redaction.h"

#include <unicode/regex.h>
#include <unicode/unistr.h>

#include <memory>

#include "platform/Log.h"
#include "store/AppPreferences.h"

namespace folvane {
namespace {

// The patterns in ICU's dialect, exactly as the regex engine sees them.
constexpr const char* creditCardPattern =
    R"(\b(?:4(?:\d[ -]?){12}(?:\d[ -]?){3}?|5[1-5](?:\d[ -]?){14}|6(?:011|5[0-9]{2})(?:\d[ -]?){12}|3[47](?:\d[ -]?){13}|3(?:0[0-5]|[68][0-9])(?:\d[ -]?){11}|(?:2131|1800|35\d{2})(?:\d[ -]?){11})\b)";
constexpr const char* phonePattern =
    R"(\+?\d{1,4}?[-.\s]?\(?\d{1,3}?\)?[-.\s]?\d{1,4}[-.\s]?\d{1,4}[-.\s]?\d{1,9})";
constexpr const char* emailPattern = R"([A-Z0-9a-z._%+-]+@[A-Za-z0-9.-]+\.[A-Za-z]{2,})";
constexpr const char* moneyPattern =
    R"((\$|€|£)\s*\d{1,3}(,\d{3})*(\.\d{2})?\b|\b\d{1,3}(,\d{3})*(\.\d{2})?\s+(USD|EUR|GBP)\b)";

// Compiles `pattern` with no flags and replaces all its matches in `text`; true
// when something was replaced.
bool replaceAll(icu::UnicodeString& text, const char* pattern) {
    UErrorCode status = U_ZERO_ERROR;
    UParseError parseError;
    std::unique_ptr<icu::RegexPattern> compiled(
        icu::RegexPattern::compile(icu::UnicodeString::fromUTF8(pattern), 0, parseError, status));
    if (U_FAILURE(status) || !compiled) {
        log("Failed to create regex pattern");
        return false;
    }
    std::unique_ptr<icu::RegexMatcher> matcher(compiled->matcher(text, status));
    if (U_FAILURE(status) || !matcher) {
        log("Failed to create regex pattern");
        return false;
    }
    if (!matcher->find()) return false;
    icu::UnicodeString replaced = matcher->replaceAll(u"[REDACTED]", status);
    if (U_FAILURE(status)) return false;
    text = replaced;
    return true;
}

}  // namespace

RedactionOptions redactionOptions(const AppPreferences& preferences) {
    return {.creditCardNumbers = preferences.redactCCNumbers(),
            .phoneNumbers = preferences.redactPhoneNumbers(),
            .emailAddresses = preferences.redactEmailAddresses(),
            .monetaryAmounts = preferences.hideMonetaryAmounts()};
}

std::string redactSensitiveContent(std::string_view text, const RedactionOptions& options) {
    icu::UnicodeString working = icu::UnicodeString::fromUTF8(
        icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
    bool changed = false;
    if (options.creditCardNumbers) changed |= replaceAll(working, creditCardPattern);
    if (options.phoneNumbers) changed |= replaceAll(working, phonePattern);
    if (options.emailAddresses) changed |= replaceAll(working, emailPattern);
    if (options.monetaryAmounts) changed |= replaceAll(working, moneyPattern);
    // Untouched text goes back byte for byte, even where it is not valid UTF-8.
    if (!changed) return std::string(text);
    std::string result;
    working.toUTF8String(result);
    return result;
}

}  // namespace folvane
