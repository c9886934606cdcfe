#pragma once

#include <string>
#include <string_view>

namespace folvane {

class AppPreferences;

// Which redaction passes run. The defaults are those of a fresh installation.
struct RedactionOptions {
    bool creditCardNumbers = true;
    bool phoneNumbers = false;
    bool emailAddresses = false;
    bool monetaryAmounts = false;
};

// The four privacy settings as they stand now. AppPreferences belongs to the main
// thread, so callers take this snapshot there and hand it to background work.
RedactionOptions redactionOptions(const AppPreferences& preferences);

// Replaces every match of each enabled pattern by "[REDACTED]". The passes run in
// the order card numbers, telephone numbers, e-mail addresses, monetary amounts,
// each over the result of the one before. Pure and thread-safe; never fails (a
// pattern that does not compile is logged and its pass skipped).
std::string redactSensitiveContent(std::string_view text, const RedactionOptions& options);

}  // namespace folvane
