#pragma once

#include <string>
#include <vector>

namespace folvane {

// One choice of the transcription's language: the label the picker shows and
// the code stored in sttLanguageCode.
struct SpeechLanguage {
    std::string label;
    std::string code;

    bool operator==(const SpeechLanguage&) const = default;
};

// The 58 languages of transcription in the picker's order; the first, "Auto
// Detect" with the empty code, is the default.
const std::vector<SpeechLanguage>& speechLanguages();

}  // namespace folvane
