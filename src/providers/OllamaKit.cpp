#include "providers/OllamaKit.h"

#include <charconv>

#include "platform/HttpClient.h"
#include "providers/DecodingError.h"
#include "providers/ProviderResponseError.h"
#include "providers/URLText.h"

namespace folvane {

namespace rd = json_read;

namespace {

// Reads `count` decimal digits at `at`, moving past them.
bool digits(std::string_view text, size_t& at, size_t count, int& value) {
    if (at + count > text.size()) return false;
    const char* begin = text.data() + at;
    const auto [end, error] = std::from_chars(begin, begin + count, value);
    if (error != std::errc() || end != begin + count) return false;
    at += count;
    return true;
}

bool expect(std::string_view text, size_t& at, char c) {
    if (at >= text.size() || text[at] != c) return false;
    ++at;
    return true;
}

std::optional<std::chrono::system_clock::time_point> parse(std::string_view text, bool fractional) {
    using namespace std::chrono;
    size_t at = 0;
    int yearValue = 0, monthValue = 0, dayValue = 0, hour = 0, minute = 0, second = 0;
    if (!digits(text, at, 4, yearValue) || !expect(text, at, '-') ||
        !digits(text, at, 2, monthValue) || !expect(text, at, '-') ||
        !digits(text, at, 2, dayValue)) {
        return std::nullopt;
    }
    if (at >= text.size() || (text[at] != 'T' && text[at] != 't')) return std::nullopt;
    ++at;
    if (!digits(text, at, 2, hour) || !expect(text, at, ':') || !digits(text, at, 2, minute) ||
        !expect(text, at, ':') || !digits(text, at, 2, second)) {
        return std::nullopt;
    }
    nanoseconds fraction{0};
    if (fractional) {
        if (!expect(text, at, '.')) return std::nullopt;
        size_t count = 0;
        int64_t scale = 100'000'000;
        while (at < text.size() && text[at] >= '0' && text[at] <= '9') {
            fraction += nanoseconds((text[at] - '0') * scale);
            scale /= 10;
            ++at;
            ++count;
        }
        if (count == 0) return std::nullopt;
    }
    minutes offset{0};
    if (at < text.size() && (text[at] == 'Z' || text[at] == 'z')) {
        ++at;
    } else if (at < text.size() && (text[at] == '+' || text[at] == '-')) {
        const int sign = text[at] == '-' ? -1 : 1;
        ++at;
        int offsetHours = 0, offsetMinutes = 0;
        if (!digits(text, at, 2, offsetHours) || !expect(text, at, ':') ||
            !digits(text, at, 2, offsetMinutes) || offsetHours > 23 || offsetMinutes > 59) {
            return std::nullopt;
        }
        offset = minutes(sign * (offsetHours * 60 + offsetMinutes));
    } else {
        return std::nullopt;
    }
    if (at != text.size()) return std::nullopt;

    const year_month_day date{year(yearValue), month(static_cast<unsigned>(monthValue)),
                              day(static_cast<unsigned>(dayValue))};
    if (!date.ok() || hour > 23 || minute > 59 || second > 60) return std::nullopt;
    const auto local = sys_days(date) + hours(hour) + minutes(minute) + seconds(second);
    return time_point_cast<system_clock::duration>(local - offset + fraction);
}

}  // namespace

std::optional<std::chrono::system_clock::time_point> parseInternetDate(std::string_view text) {
    if (auto date = parse(text, true)) return date;
    return parse(text, false);
}

OKModelResponse OKModelResponse::decode(std::string_view text) {
    const nlohmann::json value = rd::parse(text);
    rd::object(value, "OKModelResponse");
    OKModelResponse response;
    for (const auto& entry : rd::array(rd::required(value, "models"), "models")) {
        rd::object(entry, "models");
        OKModel model;
        model.name = rd::string(rd::required(entry, "name"), "name");
        model.digest = rd::string(rd::required(entry, "digest"), "digest");
        model.size = rd::integer(rd::required(entry, "size"), "size");
        const std::string date = rd::string(rd::required(entry, "modified_at"), "modified_at");
        const auto modifiedAt = parseInternetDate(date);
        if (!modifiedAt) {
            throw DecodingError(DecodingError::Kind::dataCorrupted,
                                "Cannot decode date string " + date);
        }
        model.modifiedAt = *modifiedAt;
        response.models.push_back(std::move(model));
    }
    return response;
}

OllamaKit::OllamaKit(std::shared_ptr<HttpClient> http, std::string baseURL)
    : http_(std::move(http)), baseURL_(std::move(baseURL)) {
    while (!baseURL_.empty() && baseURL_.back() == '/') baseURL_.pop_back();
}

OKModelResponse OllamaKit::models(std::stop_token stop) const {
    HttpRequest request;
    request.url = baseURL_ + "/api/tags";
    request.headers = {{"Content-Type", "application/json"}};
    if (!isValidURL(request.url)) {
        throw HttpTransportError(HttpTransportError::Kind::badURL, "unsupported URL");
    }
    std::string body;
    const HttpResponseHead head = http_->perform(
        request,
        [&body](const HttpResponseHead&, std::string_view block) {
            body.append(block);
            return true;
        },
        stop);
    if (head.status < 200 || head.status > 299) throw ProviderResponseError::forStatus(head.status);
    return OKModelResponse::decode(body);
}

}  // namespace folvane
