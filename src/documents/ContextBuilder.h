#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "SimilaritySearchKit/SearchResult.h"
#include "documents/ChatIndexer.h"
#include "documents/Redaction.h"
#include "documents/ReferenceMatching.h"
#include "store/Bookmark.h"

namespace folvane {

class GPTEncoder;

// What the model gets to see of a chat's documents for one question: the
// system instruction with the list of the documents, and the block with the
// best chunks of the chat's indexes.
class ContextBuilder {
  public:
    static constexpr std::string_view plainTemplate =
        "=====\nINSTRUCTION:\n=====\nYou have access to the content of the following document or "
        "documents. Answer the users question using the available content. Always assume that "
        "you have access to the entire document.\n\n=====\nDOCUMENTS INFORMATION:\n=====\n\n"
        "{metadata}";
    static constexpr std::string_view gptTemplate =
        "=====\nINSTRUCTION:\n=====\nYou have access to the content of the following documents. "
        "Answer the users question using the available content. \n\n- Always assume that you "
        "have access to the entire document.\n- Refer to the document as file name, not ID.\n- "
        "Your answer must include cited sources at the end using the format below:\n\n<Your text "
        "answer>\n.....REFS.....\n<Page numbers>\n\nThe \".....REFS.....\" is required to "
        "separate between the text answer and the page numbers. The <Page numbers> must strictly "
        "contain only numbers, comma separated\n\nExample Answer Format:\n\nThe author of this "
        "book is Jason\n.....REFS.....\n1,4\n\n=====\nDOCUMENTS INFORMATION:\n=====\n\n{metadata}";
    static constexpr std::string_view contentTemplate =
        "    =====\n    CONTENT OF THE DOCUMENTS:\n    =====\n    \n    {context}";

    // The instruction, the content block and the results it was made from.
    struct Instruction {
        std::string instruction;
        std::string contentBlock;
        std::vector<SearchResult> results;
    };

    // contextLength: what the chat's route may hold, in tokens.
    ContextBuilder(ChatIndexes indexes, std::vector<Bookmark> bookmarks, const GPTEncoder& encoder,
                   int contextLength, RedactionOptions redaction);

    // The `count` best chunks of the three indexes for the query, in an
    // instruction for the model. Throws ContextError: noIndex without a
    // local index, messageTooLong when the instruction and the query together
    // pass the route's context length.
    Instruction generateSystemInstructionForQuery(const std::string& query,
                                                  const std::string& model, int count) const;
    // The plain instruction with the list of the documents, whatever the model:
    // the instruction of a request over quoted text.
    std::string quotedContentInstruction() const;
    // The list of the chat's documents that stands for {metadata}.
    std::string documentsMetadataText() const;

    // The template of a model: the second one for ids that contain "gpt".
    static std::string_view instructionTemplate(std::string_view model);
    // The content block with {context} replaced.
    static std::string contentBlock(const std::string& context);
    // One result as the model reads it, and all of them joined.
    static std::string contextEntry(const SearchResult& result);
    static std::string contextText(const std::vector<SearchResult>& results);
    // The result lists in the order given, sorted by score, highest first and
    // stable, cut at count.
    static std::vector<SearchResult> bestResults(std::vector<std::vector<SearchResult>> lists,
                                                 int count);

  private:
    ChatIndexes indexes_;
    std::vector<Bookmark> bookmarks_;
    const GPTEncoder& encoder_;
    int contextLength_;
    RedactionOptions redaction_;
};

// The list of documents for {metadata}: their count, then one entry for each
// bookmark whose filePath is a URL, numbered from 1 over all of them.
std::string documentsMetadataText(const std::vector<Bookmark>& bookmarks);

}  // namespace folvane
