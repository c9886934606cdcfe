#include "shell/settings/GeneralTab.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QFrame>
#include <QLabel>
#include <QPlainTextEdit>
#include <QSignalBlocker>
#include <QVBoxLayout>

#include "store/AppPreferences.h"

namespace folvane {
namespace {

// The tags a file manager offers, as the choice shows them and as the setting
// holds them.
struct TagChoice {
    const char* label;
    const char* word;
};
constexpr TagChoice tagChoices[] = {
    {"\U0001F535 Blue", "Blue"},     {"\U0001F534 Red", "Red"},     {"\U0001F7E0 Orange", "Orange"},
    {"\U0001F7E1 Yellow", "Yellow"}, {"\U0001F7E2 Green", "Green"}, {"\U0001F7E3 Purple", "Purple"},
};

// The OCR levels by their choice's id.
enum OcrChoice { accurate, fast };
constexpr const char* ocrLevels[] = {"accurate", "fast"};

QFrame* makeRule(QWidget* parent) {
    auto* rule = new QFrame(parent);
    rule->setFrameShape(QFrame::HLine);
    rule->setFrameShadow(QFrame::Sunken);
    return rule;
}

}  // namespace

GeneralTab::GeneralTab(AppPreferences& preferences, QWidget* parent)
    : SettingsPage(preferences, parent) {
    QFormLayout* form = makeForm(this);

    addToggle(form, QStringLiteral("Always on Top"), Setting::alwaysOnTop);
    addToggle(form, QStringLiteral("LaTeX & Math Expression"), Setting::useLaTeX);
    addToggle(form, QStringLiteral("Markdown & Code Syntax"), Setting::useMarkdown);
    addToggle(form, QStringLiteral("Show Page References"), Setting::showPageReferences);
    addToggle(form, QStringLiteral("Close Welcome Window Automatically"),
              Setting::autoCloseWelcomeWindow);
    // There is no Finder here: the tags are those that the file manager shows.
    addToggle(form, QStringLiteral("Tag Documents Automatically"), Setting::autoTagIndexedFiles,
              QStringLiteral("After processed, your documents will be tagged in the file manager"));

    auto* tag = new QComboBox(this);
    tag->setAccessibleName(QStringLiteral("Finder Tag"));
    for (const auto& choice : tagChoices)
        tag->addItem(QString::fromUtf8(choice.label), QString::fromUtf8(choice.word));
    addRow(form, QStringLiteral("Finder Tag:"), tag);
    connect(tag, &QComboBox::activated, this, [this, tag](int index) {
        const std::string word = tag->itemData(index).toString().toStdString();
        write([&] { this->preferences().setDefaultFinderTag(word); });
    });
    follow({Setting::defaultFinderTag, Setting::autoTagIndexedFiles}, [this, tag] {
        const QSignalBlocker blocker(tag);
        const QString word = QString::fromStdString(this->preferences().defaultFinderTag());
        int index = tag->findData(word);
        if (index < 0) {
            // A tag set elsewhere that the list does not offer still shows.
            tag->addItem(word, word);
            index = tag->count() - 1;
        }
        tag->setCurrentIndex(index);
        tag->setEnabled(this->preferences().autoTagIndexedFiles());
    });

    addToggle(form, QStringLiteral("Use OCR for PDF Forms"), Setting::useOCRForPDFForms,
              QStringLiteral("PDFs with fillable forms require advanced Optical Character "
                             "Recognition (OCR). You might need to reprocess PDFs after changing "
                             "this setting."));

    QButtonGroup* levels = makeChoices(
        {{QStringLiteral("Accurate"),
          QStringLiteral("Higher accuracy. Slower and requires more resources"), accurate},
         {QStringLiteral("Fast"),
          QStringLiteral("Less accuracy. Faster and requires less resources"), fast}});
    addRow(form, QStringLiteral("OCR Level:"), static_cast<QWidget*>(levels->parent()),
           levels->button(accurate));
    connect(levels, &QButtonGroup::idClicked, this, [this](int id) {
        const std::string level = ocrLevels[id];
        write([&] { this->preferences().setOcrRecognitionLevel(level); });
    });
    follow({Setting::ocrRecognitionLevel}, [this, levels] {
        // Any level but "accurate" reads as fast.
        const bool isAccurate = this->preferences().ocrRecognitionLevel() == ocrLevels[accurate];
        {
            const QSignalBlocker blocker(levels);
            levels->button(isAccurate ? accurate : fast)->setChecked(true);
        }
        makeTabStopAtChoice(levels);
    });

    form->addRow(makeRule(this));

    addToggle(form, QStringLiteral("Continue Last Conversation"), Setting::continueLastConversation,
              QStringLiteral("Opening a document that already has a chat brings back its latest "
                             "chat instead of starting a new one"));
    addToggle(form, QStringLiteral("Suggest Questions Automatically"),
              Setting::autoSuggestQuestions,
              QStringLiteral("Offer questions to ask about the documents of a new chat"));

    auto* instruction = new QPlainTextEdit(this);
    instruction->setAccessibleName(QStringLiteral("Custom Instruction"));
    instruction->setPlaceholderText(
        QStringLiteral("For example: Answer in short paragraphs and quote the document."));
    instruction->setTabChangesFocus(true);
    instruction->setFixedHeight(instruction->fontMetrics().lineSpacing() * 4 + 12);
    addRow(form, QStringLiteral("Custom Instruction:"),
           withHelp(instruction, QStringLiteral("Goes with every question you ask, in every "
                                                "chat. Leave it empty for none.")),
           instruction);
    connect(instruction, &QPlainTextEdit::textChanged, this, [this, instruction] {
        const std::string text = instruction->toPlainText().toStdString();
        if (text == this->preferences().userInstruction()) return;
        // What the user typed stays in the field when it cannot be kept.
        write([&] { this->preferences().setUserInstruction(text); }, false);
    });
    follow({Setting::userInstruction}, [this, instruction] {
        const QString stored = QString::fromStdString(this->preferences().userInstruction());
        if (instruction->toPlainText() == stored) return;
        const QSignalBlocker blocker(instruction);
        instruction->setPlainText(stored);
    });
    addToggle(form, QStringLiteral("Append Instruction to My Messages"),
              Setting::appendUserInstructionToUserMessage,
              QStringLiteral("On: the instruction is added to the end of each message you send. "
                             "Off: it becomes part of the system instruction."));
}

}  // namespace folvane
