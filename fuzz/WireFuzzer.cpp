// libFuzzer target for the stream block parser and the JSON decoders of the
// wire client. The first byte picks what to run; the rest is the input. Any
// exception other than the decoders' own is a finding.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "providers/APIErrorResponse.h"
#include "providers/AudioQueries.h"
#include "providers/ChatResult.h"
#include "providers/ChatStreamResult.h"
#include "providers/DecodingError.h"
#include "providers/EmbeddingsQuery.h"
#include "providers/ModelsResult.h"
#include "providers/StreamingSession.h"
#include "providers/Utf8.h"

namespace {

using namespace folvane;

template <typename Decode>
void decodeQuietly(Decode decode) {
    try {
        decode();
    } catch (const DecodingError&) {
    }
}

void decoders(std::string_view text) {
    decodeQuietly([&] { ChatResult::decode(text); });
    decodeQuietly([&] { ChatStreamResult::decode(text); });
    decodeQuietly([&] { ModelsResult::decode(text); });
    decodeQuietly([&] { EmbeddingsResult::decode(text); });
    decodeQuietly([&] { AudioTranscriptionResult::decode(text); });
    auto error = APIErrorResponse::tryDecode(text);
    if (error && std::string_view(error->what()) != error->error().message) __builtin_trap();
}

// Blocks cut at each 0xFF byte (which is never UTF-8), with the status from
// the selector byte.
void stream(uint8_t selector, std::string_view input) {
    static const int statuses[] = {200, 200, 200, 429, 500, 401};
    HttpResponseHead head{statuses[selector % 6], {}};
    if (selector & 0x10) head.headers.push_back({"Retry-After", "20"});
    size_t events = 0;
    StreamingSession session([&](const ChatStreamResult&) { ++events; },
                             [](std::exception_ptr error) {
                                 if (!error) __builtin_trap();
                             });
    size_t start = 0;
    while (start <= input.size()) {
        size_t end = input.find('\xFF', start);
        if (end == std::string_view::npos) end = input.size();
        if (end > start) session.receiveBlock(head, input.substr(start, end - start));
        start = end + 1;
    }
}

void utf8(std::string_view input) {
    auto prefix = completeUtf8Prefix(input);
    if (prefix && *prefix > input.size()) __builtin_trap();
    if (prefix && input.size() - *prefix > 3) __builtin_trap();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    std::string_view input(reinterpret_cast<const char*>(data) + 1, size - 1);
    switch (data[0] % 3) {
        case 0:
            decoders(input);
            break;
        case 1:
            stream(data[0] / 3, input);
            break;
        default:
            utf8(input);
            break;
    }
    return 0;
}
