#include <gtest/gtest.h>

#include <string>

#include "documents/Redaction.h"

namespace folvane {
namespace {

constexpr RedactionOptions defaults{};
constexpr RedactionOptions phonesOnly{.creditCardNumbers = false, .phoneNumbers = true};
constexpr RedactionOptions emailsOnly{.creditCardNumbers = false, .emailAddresses = true};
constexpr RedactionOptions moneyOnly{.creditCardNumbers = false, .monetaryAmounts = true};
constexpr RedactionOptions everything{.creditCardNumbers = true,
                                      .phoneNumbers = true,
                                      .emailAddresses = true,
                                      .monetaryAmounts = true};
constexpr RedactionOptions nothing{.creditCardNumbers = false};

struct Case {
    const char* name;
    RedactionOptions options;
    std::string input;
    std::string expected;
};

class RedactionTest : public testing::TestWithParam<Case> {};

TEST_P(RedactionTest, RewritesAsExpected) {
    const Case& c = GetParam();
    EXPECT_EQ(redactSensitiveContent(c.input, c.options), c.expected);
}

const Case cases[] = {
    // Card numbers, on by default. Each digit may take one blank or hyphen with
    // it, so a blank behind the number goes into the match.
    {"Visa16Digits", defaults, "card 4111111111111111 ok", "card [REDACTED]ok"},
    {"VisaInGroupsOfFour", defaults, "card 4111 1111 1111 1111.", "card [REDACTED]."},
    {"VisaWithHyphens", defaults, "4111-1111-1111-1111", "[REDACTED]"},
    {"Visa13DigitsStays", defaults, "card 4222222222222 ok", "card 4222222222222 ok"},
    {"MasterCard", defaults, "5500 0000 0000 0004", "[REDACTED]"},
    {"Amex", defaults, "378282246310005", "[REDACTED]"},
    {"Discover", defaults, "6011111111111117", "[REDACTED]"},
    {"DinersClub", defaults, "30569309025904", "[REDACTED]"},
    {"JcbFifteenDigits", defaults, "353011133330000", "[REDACTED]"},
    {"JcbSixteenDigitsStays", defaults, "3530111333300000", "3530111333300000"},
    {"CardInsideWordStays", defaults, "x4111111111111111", "x4111111111111111"},
    {"PhoneStaysByDefault", defaults, "call +1 (555) 123-4567", "call +1 (555) 123-4567"},
    {"CardOffLeavesCard", nothing, "4111111111111111", "4111111111111111"},
    {"NonAsciiDigitsAreDigits", defaults, "٤١١١١١١١١١١١١١١١", "٤١١١١١١١١١١١١١١١"},

    // Telephone numbers.
    {"PhoneInternational", phonesOnly, "call +1 (555) 123-4567 now", "call [REDACTED] now"},
    {"PhoneDotted", phonesOnly, "555.123.4567", "[REDACTED]"},
    {"DateIsEaten", phonesOnly, "on 12.03.2023 we met", "on [REDACTED] we met"},
    {"YearAloneStays", phonesOnly, "in 2023 we met", "in 2023 we met"},
    {"FiveDigitRun", phonesOnly, "zip 12345", "zip [REDACTED]"},
    {"FourDigitsSeparatedStay", phonesOnly, "1-2-3", "1-2-3"},

    // E-mail addresses.
    {"Email", emailsOnly, "write to jane.doe+x@mail.example.org today",
     "write to [REDACTED] today"},
    {"EmailWithoutDotStays", emailsOnly, "root@localhost", "root@localhost"},
    {"EmailOneLetterDomainStays", emailsOnly, "a@b.c", "a@b.c"},
    {"EmailOffStays", defaults, "jane@example.com", "jane@example.com"},

    // Monetary amounts.
    {"DollarsWithCents", moneyOnly, "costs $1,234.56 today", "costs [REDACTED] today"},
    {"CodeBehind", moneyOnly, "costs 1,234.56 USD today", "costs [REDACTED] today"},
    {"EuroSign", moneyOnly, "€ 20", "[REDACTED]"},
    {"PoundSign", moneyOnly, "£3.50", "[REDACTED]"},
    {"EurBehind", moneyOnly, "20 EUR", "[REDACTED]"},
    {"CodeInFrontStays", moneyOnly, "USD 1,234.56", "USD 1,234.56"},
    {"LowerCaseCodeStays", moneyOnly, "20 usd", "20 usd"},

    // Order and combinations.
    {"CardGoesBeforePhone", everything, "pay 4111 1111 1111 1111 now", "pay [REDACTED]now"},
    {"AllKinds", everything, "4111111111111111 jane@example.com $5",
     "[REDACTED][REDACTED] [REDACTED]"},
    {"NothingMatches", everything, "A plain sentence.", "A plain sentence."},
    {"Empty", everything, "", ""},
    {"InvalidUtf8Untouched", everything, "ab\xff\xfe", "ab\xff\xfe"},
};

INSTANTIATE_TEST_SUITE_P(Passes, RedactionTest, testing::ValuesIn(cases),
                         [](const testing::TestParamInfo<Case>& test) { return test.param.name; });

}  // namespace
}  // namespace folvane
