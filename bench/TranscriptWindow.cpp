// The measured side of the memory benchmark: one window with the transcript
// of a 500-message chat with code blocks. Prints "painted" once a frame shows
// the chat (its last rows, the view sticking to the end) and stays until it is
// killed.
#include <QApplication>
#include <cstdio>

#include "conversation/ViewModel.h"
#include "shell/chat/TranscriptView.h"
#include "store/AppPreferences.h"
#include "support/TranscriptBenchChat.h"

using namespace folvane;

int main(int argc, char** argv) {
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QApplication app(argc, argv);
    auto chat = std::make_shared<bench::TranscriptBenchChat>();
    chat->set([](ChatDetailState& s) {
        s.loaded = true;
        s.messages = bench::TranscriptBenchChat::longChat(500);
    });
    AppPreferences preferences;
    TranscriptView view(ChatDetailRef(chat), preferences);
    bool said = false;
    QObject::connect(&view, &TranscriptView::framePainted, [&](int updates, const QString&) {
        if (said || updates < 1 || updates < view.updatesSent()) return;
        said = true;
        std::printf("painted\n");
        std::fflush(stdout);
    });
    view.resize(900, 700);
    view.show();
    return QApplication::exec();
}
