#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <ctime>

#include "speech/DatedFileName.h"

namespace folvane {
namespace {

// Runs with the local time zone set to UTC and the C time locale.
class DatedFileNameTest : public ::testing::Test {
  protected:
    void SetUp() override {
        if (const char* tz = std::getenv("TZ")) oldTz_ = tz;
        setenv("TZ", "UTC", 1);
        tzset();
        std::setlocale(LC_TIME, "C");
    }
    void TearDown() override {
        if (oldTz_) {
            setenv("TZ", oldTz_->c_str(), 1);
        } else {
            unsetenv("TZ");
        }
        tzset();
    }
    static std::chrono::system_clock::time_point at(int year, int month, int day, int hour,
                                                    int minute, int second) {
        std::tm tm{};
        tm.tm_year = year - 1900;
        tm.tm_mon = month - 1;
        tm.tm_mday = day;
        tm.tm_hour = hour;
        tm.tm_min = minute;
        tm.tm_sec = second;
        return std::chrono::system_clock::from_time_t(timegm(&tm));
    }

  private:
    std::optional<std::string> oldTz_;
};

TEST_F(DatedFileNameTest, TheHourRunsOneToTwelveWithTheAmOrPmMark) {
    struct Case {
        int hour, minute, second;
        const char* stem;
    };
    for (const Case& c :
         {Case{0, 5, 9, "2026-03-07_12-05-09_AM"}, Case{9, 30, 0, "2026-03-07_9-30-00_AM"},
          Case{12, 0, 1, "2026-03-07_12-00-01_PM"}, Case{13, 5, 59, "2026-03-07_1-05-59_PM"},
          Case{23, 59, 59, "2026-03-07_11-59-59_PM"}}) {
        EXPECT_EQ(datedFileStem(at(2026, 3, 7, c.hour, c.minute, c.second)), c.stem);
    }
}

}  // namespace
}  // namespace folvane
