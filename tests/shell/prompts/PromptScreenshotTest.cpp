#include <QDir>
#include <QHeaderView>
#include <QLineEdit>
#include <QPainter>
#include <QPlainTextEdit>
#include <QPointer>
#include <QSet>
#include <QTableView>
#include <QVBoxLayout>
#include <QtTest>

#include "prompts/PromptTestLibrary.h"
#include "shell/chat/ComposeBox.h"
#include "shell/prompts/PromptFormDialog.h"
#include "shell/prompts/PromptLibraryButton.h"
#include "shell/prompts/PromptPickerPopup.h"
#include "shell/prompts/PromptsTab.h"
#include "support/RecordingChat.h"

using namespace folvane;

namespace {

// Saves the picture to build/screenshots/NAME.png, and fails when it is
// blank: a widget that paints nothing has at most a few colours.
void save(const QImage& image, const QString& name) {
    QSet<QRgb> colours;
    for (int y = 0; y < image.height() && colours.size() < 16; y += 3)
        for (int x = 0; x < image.width() && colours.size() < 16; x += 3)
            colours.insert(image.pixel(x, y));
    QVERIFY2(colours.size() >= 8, qPrintable(name + " is blank"));
    const QString folder = QCoreApplication::applicationDirPath() + "/../screenshots";
    QVERIFY(QDir().mkpath(folder));
    QVERIFY(image.save(folder + "/" + name + ".png"));
}

}  // namespace

class PromptScreenshotTest : public QObject {
    Q_OBJECT
  private slots:
    void theTabTheFormAndThePicker() {
        test::PromptTestLibrary library;
        PromptsTab tab(library.list);
        QVERIFY(library.settle());
        QVERIFY(library.send(prompt_list_input::UpdatePromptEnable{5, false}));
        tab.resize(760, 520);
        tab.show();
        QVERIFY(QTest::qWaitForWindowExposed(&tab));
        tab.selectIds({3});
        save(tab.grab().toImage(), "prompts-tab");

        QPointer<PromptFormDialog> form = tab.editSelected();
        QVERIFY(QTest::qWaitForWindowExposed(form));
        save(form->grab().toImage(), "prompts-edit-form");
        form->reject();
        QPointer<PromptFormDialog> add = tab.addPrompt();
        QVERIFY(QTest::qWaitForWindowExposed(add));
        save(add->grab().toImage(), "prompts-add-form");
        add->reject();

        // The picker over a message box, painted where it opens.
        test::RecordingChatRef chat;
        QWidget window;
        auto* layout = new QVBoxLayout(&window);
        layout->addStretch();
        auto* box = new ComposeBox(chat.ref, library.preferences, &window);
        box->setPromptLibrary(library.list);
        layout->addWidget(box);
        window.resize(640, 540);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        box->promptButton()->openPicker();
        auto* picker = box->promptButton()->picker();
        QTRY_VERIFY(!picker->displayingItems().empty());
        QTest::keyClicks(picker->searchField(), "i");
        QTRY_COMPARE(picker->displayingItems().size(), size_t(6));
        QTest::keyClick(picker->searchField(), Qt::Key_Down);
        QImage picture = window.grab().toImage();
        QPainter painter(&picture);
        painter.drawImage(window.mapFromGlobal(picker->pos()), picker->grab().toImage());
        painter.end();
        save(picture, "prompts-picker");
    }
};

QTEST_MAIN(PromptScreenshotTest)
#include "PromptScreenshotTest.moc"
