#include "SimilaritySearchKit/BertTokenizer.h"

#include <fstream>
#include <sstream>

#include "SimilaritySearchKit/TextUnits.h"
#include "platform/Log.h"

namespace folvane {
namespace {

const std::vector<std::string> specialTokens{"[UNK]", "[SEP]", "[PAD]", "[CLS]", "[MASK]"};

}  // namespace

BertTokenizer::Loaded BertTokenizer::load(const std::filesystem::path& path) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error)) {
        throw BertVocabularyError("The BERT vocabulary " + path.string() +
                                  " is missing: the installation is incomplete");
    }
    std::ifstream in(path, std::ios::binary);
    std::ostringstream buffer;
    buffer << in.rdbuf();
    if (!in || in.bad()) {
        throw BertVocabularyError("The BERT vocabulary " + path.string() + " cannot be read");
    }
    const std::string text = buffer.str();

    std::vector<std::string> idsToTokens;
    auto vocab = std::make_shared<BertVocabulary>();
    for (std::string_view line : textunits::splitKeepingEmpty(text, "\n")) {
        if (line.empty()) continue;
        const int id = static_cast<int>(idsToTokens.size());
        idsToTokens.emplace_back(line);
        (*vocab)[std::string(line)] = id;
    }
    for (const std::string& special : specialTokens) {
        if (!vocab->contains(special)) {
            throw BertVocabularyError("The BERT vocabulary " + path.string() +
                                      " is damaged: it lacks the token " + special);
        }
    }
    return {std::move(vocab), std::move(idsToTokens)};
}

BertTokenizer::BertTokenizer(const std::filesystem::path& resourceDirectory)
    : BertTokenizer(load(resourceDirectory / vocabularyFileName)) {}

BertTokenizer::BertTokenizer(Loaded loaded)
    : vocab_(loaded.first),
      idsToTokens_(std::move(loaded.second)),
      basicTokenizer_(specialTokens),
      wordpieceTokenizer_(std::move(loaded.first), "[UNK]", 100) {}

std::vector<std::string> BertTokenizer::tokenize(std::string_view text) const {
    std::vector<std::string> result;
    for (const std::string& word : basicTokenizer_.tokenize(text)) {
        for (std::string& piece : wordpieceTokenizer_.tokenize(word)) {
            result.push_back(std::move(piece));
        }
    }
    return result;
}

std::string BertTokenizer::detokenize(const std::vector<std::string>& tokens) const {
    std::vector<std::string> words;
    std::string current;
    for (const std::string& token : tokens) {
        if (token.starts_with("##")) {
            // The token's last (length - 2) characters.
            const std::vector<std::string_view> characters = textunits::characters(token);
            for (size_t i = 2; i < characters.size(); ++i) current += characters[i];
            continue;
        }
        if (!current.empty()) words.push_back(std::move(current));
        current = token;
    }
    words.push_back(std::move(current));
    return textunits::join(words, " ");
}

std::vector<int> BertTokenizer::convertTokensToIds(const std::vector<std::string>& tokens) const {
    std::vector<int> ids;
    ids.reserve(tokens.size());
    for (const std::string& token : tokens) {
        const auto found = vocab_->find(token);
        if (found == vocab_->end()) {
            throw std::invalid_argument("The token \"" + token +
                                        "\" is not in the BERT vocabulary");
        }
        ids.push_back(found->second);
    }
    return ids;
}

std::vector<int32_t> BertTokenizer::buildModelTokens(std::string_view sentence) const {
    std::vector<std::string> tokens = tokenize(sentence);
    if (tokens.size() + 2 > static_cast<size_t>(maxLen)) {
        log("Input sentence is too long " + std::to_string(tokens.size() + 2) + " > " +
            std::to_string(maxLen) + ", truncating.");
        tokens.resize(maxLen - 2);
    }
    std::vector<int32_t> ids;
    ids.reserve(maxLen);
    ids.push_back(vocab_->find("[CLS]")->second);
    for (int id : convertTokensToIds(tokens)) ids.push_back(id);
    ids.push_back(vocab_->find("[SEP]")->second);
    ids.resize(maxLen, 0);
    return ids;
}

BertModelInputs BertTokenizer::buildModelInputs(const std::vector<int32_t>& ids) {
    BertModelInputs inputs;
    inputs.inputIds = ids;
    inputs.attentionMask.reserve(ids.size());
    for (int32_t id : ids) inputs.attentionMask.push_back(id != 0 ? 1 : 0);
    return inputs;
}

}  // namespace folvane
