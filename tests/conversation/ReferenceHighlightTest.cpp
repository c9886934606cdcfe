#include "conversation/ChatSessionFixture.h"

namespace folvane {
namespace {

namespace in = chat_input;

using ReferenceHighlightTest = test::ChatSessionFixture;

// A page button lights up the text of the chunk it cites; one whose chunk is in
// no loaded index (an index rebuilt since the answer) lights up nothing, and
// never the passage of the button pressed before it.
TEST_F(ReferenceHighlightTest, TheCitedChunksTextOrNothing) {
    test::serveChatScripts(
        server, {test::textScript({"Work secures it.", "\n.....REFS.....\n", "Page: 2"})});
    const auto chat = makeChat({"Cash moves between peers without a bank.",
                                "Mining secures the chain with proof of work."});
    auto viewModel = openLoaded(chat);
    ASSERT_EQ(viewModel->state().loadingState, LoadingState::loaded);
    viewModel->trigger(in::AddMessage{"How is the chain secured?"});
    finish(*viewModel);

    const auto& answer = viewModel->state().messages.back();
    ASSERT_TRUE(answer.references && !answer.references->empty());
    const Reference cited = answer.references->front();
    viewModel->trigger(in::HighlightContentForReference{cited});
    ASSERT_TRUE(viewModel->state().highlightedText);
    EXPECT_NE(viewModel->state().highlightedText->find("proof of work"), std::string::npos);

    Reference unknown = cited;
    unknown.id = "an item of an index rebuilt since";
    viewModel->trigger(in::HighlightContentForReference{unknown});
    EXPECT_FALSE(viewModel->state().highlightedText);
}

}  // namespace
}  // namespace folvane
