#include "shell/settings/GeneralTab.h"

#include <QAudioOutput>
#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QMediaPlayer>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSignalBlocker>
#include <QVBoxLayout>

#include "speech/SpeechLanguages.h"
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

constexpr const char* voices[] = {"alloy", "echo", "fable", "onyx", "nova", "shimmer"};

struct VoiceModelChoice {
    const char* label;
    const char* model;
};
constexpr VoiceModelChoice voiceModels[] = {{"TTS 1", "tts-1"}, {"TTS 1 HD", "tts-1-hd"}};

QLabel* makeHeading(const QString& text, QWidget* parent) {
    auto* heading = new QLabel(text, parent);
    heading->setStyleSheet(QStringLiteral("font-weight: bold"));
    heading->setAccessibleName(text);
    return heading;
}

// Shows the stored value in a choice whose items carry the values; a value
// the list does not offer is added so that it still shows.
void showChoice(QComboBox* box, const QString& value) {
    const QSignalBlocker blocker(box);
    int index = box->findData(value);
    if (index < 0) {
        box->addItem(value, value);
        index = box->count() - 1;
    }
    box->setCurrentIndex(index);
}

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

    addSpeechGroups(form);
}

QString GeneralTab::voiceSampleUrl(const QString& voice) {
    return QStringLiteral("https://cdn.openai.com/API/docs/audio/") + voice +
           QStringLiteral(".wav");
}

QString GeneralTab::sampleStatus() const {
    return sampleStatus_->text();
}

void GeneralTab::addSpeechGroups(QFormLayout* form) {
    form->addRow(makeRule(this));
    form->addRow(makeHeading(QStringLiteral("Speech-to-text Settings"), this));
    auto* language = new QComboBox(this);
    language->setAccessibleName(QStringLiteral("Select Language"));
    for (const auto& choice : speechLanguages())
        language->addItem(QString::fromStdString(choice.label),
                          QString::fromStdString(choice.code));
    addRow(form, QStringLiteral("Language:"), language);
    connect(language, &QComboBox::activated, this, [this, language](int index) {
        const std::string code = language->itemData(index).toString().toStdString();
        write([&] { this->preferences().setSttLanguageCode(code); });
    });
    follow({Setting::sttLanguageCode}, [this, language] {
        showChoice(language, QString::fromStdString(this->preferences().sttLanguageCode()));
    });
    addToggle(form, QStringLiteral("Auto send the message after speak"),
              Setting::autoSendMessageAfterSpeak);

    form->addRow(makeRule(this));
    form->addRow(makeHeading(QStringLiteral("Text-to-speech Settings"), this));
    auto* voiceRow = new QWidget(this);
    auto* voiceLayout = new QHBoxLayout(voiceRow);
    voiceLayout->setContentsMargins(0, 0, 0, 0);
    auto* voice = new QComboBox(voiceRow);
    voice->setAccessibleName(QStringLiteral("Default Voice"));
    for (const char* name : voices)
        voice->addItem(QString::fromUtf8(name), QString::fromUtf8(name));
    auto* play = new QPushButton(QStringLiteral("Play"), voiceRow);
    play->setAccessibleName(QStringLiteral("Play"));
    play->setToolTip(QStringLiteral("Play a sample of the voice"));
    sampleStatus_ = new QLabel(voiceRow);
    sampleStatus_->setWordWrap(true);
    sampleStatus_->setAccessibleName(QStringLiteral("Voice sample"));
    voiceLayout->addWidget(voice);
    voiceLayout->addWidget(play);
    voiceLayout->addWidget(sampleStatus_, 1);
    addRow(form, QStringLiteral("Default Voice:"), voiceRow, voice);
    connect(voice, &QComboBox::activated, this, [this, voice](int index) {
        const std::string name = voice->itemData(index).toString().toStdString();
        write([&] { this->preferences().setSpeechVoice(name); });
    });
    follow({Setting::speechVoice}, [this, voice] {
        showChoice(voice, QString::fromStdString(this->preferences().speechVoice()));
    });
    connect(play, &QPushButton::clicked, this,
            [this, voice] { playSample(voice->currentData().toString()); });

    auto* model = new QComboBox(this);
    model->setAccessibleName(QStringLiteral("Voice Model"));
    for (const auto& choice : voiceModels)
        model->addItem(QString::fromUtf8(choice.label), QString::fromUtf8(choice.model));
    addRow(form, QStringLiteral("Voice Model:"), model);
    connect(model, &QComboBox::activated, this, [this, model](int index) {
        const std::string name = model->itemData(index).toString().toStdString();
        write([&] { this->preferences().setVoiceModel(name); });
    });
    follow({Setting::voiceModel}, [this, model] {
        showChoice(model, QString::fromStdString(this->preferences().voiceModel()));
    });

    form->addRow(makeRule(this));
    addToggle(form, QStringLiteral("On-device speech"), Setting::onDeviceSpeech,
              QStringLiteral("Dictation and reading aloud on this computer: no account is "
                             "needed and nothing is sent. English only."));
}

void GeneralTab::playSample(const QString& voice) {
    if (!samplePlayer_) {
        samplePlayer_ = new QMediaPlayer(this);
        samplePlayer_->setAudioOutput(new QAudioOutput(samplePlayer_));
        connect(samplePlayer_, &QMediaPlayer::errorOccurred, this,
                [this](QMediaPlayer::Error, const QString& description) {
                    sampleStatus_->setText(QStringLiteral("The sample cannot be played: ") +
                                           description);
                });
        connect(samplePlayer_, &QMediaPlayer::mediaStatusChanged, this,
                [this](QMediaPlayer::MediaStatus status) {
                    if (status == QMediaPlayer::EndOfMedia) sampleStatus_->clear();
                });
    }
    sampleStatus_->setText(QStringLiteral("Playing..."));
    samplePlayer_->stop();
    samplePlayer_->setSource(QUrl(voiceSampleUrl(voice)));
    samplePlayer_->play();
}

}  // namespace folvane
