#include "shell/settings/AdvancedTab.h"

#include <QButtonGroup>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QRadioButton>
#include <QSignalBlocker>
#include <QSlider>
#include <QSpinBox>
#include <QStyle>
#include <QVBoxLayout>

#include "store/AppPreferences.h"

namespace folvane {
namespace {

// The slider's ends; a count set elsewhere beyond them still shows.
constexpr int fewestTasks = 1;
constexpr int mostTasks = 10;
constexpr int largestThreshold = 1000000;

QString thresholdHelp(int pages) {
    return QStringLiteral(
               "Configure when to use fast indexing. Default: when documents have more than ") +
           QString::number(pages) + QStringLiteral(" pages");
}

QString tasksText(int tasks) {
    return QStringLiteral("Number of concurrent indexing tasks: ") + QString::number(tasks);
}

}  // namespace

AdvancedTab::AdvancedTab(AppPreferences& preferences, QWidget* parent)
    : SettingsPage(preferences, parent) {
    QFormLayout* form = makeForm(this);

    auto* strategies = new QWidget(this);
    auto* strategiesLayout = new QVBoxLayout(strategies);
    strategiesLayout->setContentsMargins(0, 0, 0, 0);
    auto* group = new QButtonGroup(strategies);
    auto addStrategy = [&](const QString& text, const QString& note,
                           DataIngestionStrategy strategy) {
        auto* button = new QRadioButton(text, strategies);
        button->setAccessibleName(text);
        group->addButton(button, int(strategy));
        strategiesLayout->addWidget(button);
        QLabel* help = makeHelp(note, button, strategies);
        help->setIndent(
            button->style()->pixelMetric(QStyle::PM_ExclusiveIndicatorWidth, nullptr, button) +
            button->style()->pixelMetric(QStyle::PM_RadioButtonLabelSpacing, nullptr, button));
        strategiesLayout->addWidget(help);
    };
    addStrategy(QStringLiteral("Fast"),
                QStringLiteral("Free. Run locally. Less accurate than OpenAI"),
                DataIngestionStrategy::local);
    addStrategy(QStringLiteral("Accurate"),
                QStringLiteral("Better accuracy. Estimated cost: $1 per 63,000 pages"),
                DataIngestionStrategy::openai);
    addStrategy(QStringLiteral("Smart (Recommended)"),
                QStringLiteral("Use fast indexing for large documents"),
                DataIngestionStrategy::smart);
    form->addRow(QStringLiteral("Indexing Strategy:"), strategies);

    auto* threshold = new QSpinBox(this);
    threshold->setAccessibleName(QStringLiteral("Page count threshold"));
    threshold->setRange(0, largestThreshold);
    threshold->setSuffix(QStringLiteral(" pages"));
    auto* thresholdLabel = new QLabel(QStringLiteral("Page count threshold:"), this);
    thresholdLabel->setBuddy(threshold);
    form->addRow(thresholdLabel, threshold);
    QLabel* thresholdNote = makeHelp(thresholdHelp(300), threshold, this);
    form->addRow(QString(), thresholdNote);

    connect(group, &QButtonGroup::idClicked, this, [this](int id) {
        const auto strategy = DataIngestionStrategy(id);
        if (strategy == this->preferences().dataIngestionStrategy()) return;
        if (strategy == DataIngestionStrategy::openai && !confirmOpenAI()) {
            // "Cancel" keeps the strategy that was chosen before.
            showStored();
            return;
        }
        write([&] { this->preferences().setDataIngestionStrategy(strategy); });
    });
    connect(threshold, &QSpinBox::valueChanged, this, [this](int pages) {
        write([&] { this->preferences().setPageCountThreshold(pages); });
    });
    follow({Setting::dataIngestionStrategy, Setting::pageCountThreshold},
           [this, group, form, threshold, thresholdNote] {
               const DataIngestionStrategy strategy = this->preferences().dataIngestionStrategy();
               const int pages = this->preferences().pageCountThreshold();
               {
                   const QSignalBlocker blockGroup(group), blockThreshold(threshold);
                   if (auto* button = group->button(int(strategy))) button->setChecked(true);
                   threshold->setValue(pages);
               }
               makeTabStopAtChoice(group);
               thresholdNote->setText(thresholdHelp(pages));
               threshold->setAccessibleDescription(thresholdNote->text());
               // The threshold only means something to the smart strategy.
               const bool smart = strategy == DataIngestionStrategy::smart;
               form->setRowVisible(threshold, smart);
               form->setRowVisible(thresholdNote, smart);
           });

    auto* tasksRow = new QWidget(this);
    auto* tasksLayout = new QVBoxLayout(tasksRow);
    tasksLayout->setContentsMargins(0, 0, 0, 0);
    auto* tasks = new QSlider(Qt::Horizontal, tasksRow);
    tasks->setAccessibleName(QStringLiteral("Parallel Indexing"));
    tasks->setRange(fewestTasks, mostTasks);
    tasks->setPageStep(1);
    tasks->setTickPosition(QSlider::TicksBelow);
    tasks->setTickInterval(1);
    tasks->setFocusPolicy(Qt::StrongFocus);
    auto* tasksValue = new QLabel(tasksRow);
    tasksLayout->addWidget(tasks);
    tasksLayout->addWidget(tasksValue);
    form->addRow(QStringLiteral("Parallel Indexing:"), tasksRow);
    addHelp(form, tasks,
            QStringLiteral("Parallel Indexing allows you to control the number of concurrent "
                           "indexing tasks. Fewer tasks (2-5) are more stable but slower, while "
                           "more tasks (7-10) are faster but potentially less reliable."));
    connect(tasks, &QSlider::valueChanged, this, [this](int count) {
        write([&] { this->preferences().setIndexingParallelTask(count); });
    });
    follow({Setting::indexingParallelTask}, [this, tasks, tasksValue] {
        const int count = this->preferences().indexingParallelTask();
        {
            const QSignalBlocker blocker(tasks);
            tasks->setRange(fewestTasks, std::max(mostTasks, count));
            tasks->setValue(count);
        }
        tasksValue->setText(tasksText(count));
    });
}

bool AdvancedTab::confirmOpenAI() {
    QMessageBox box(QMessageBox::Warning, QStringLiteral("Are you sure?"),
                    QStringLiteral("Estimated cost when using OpenAI for embedding: $1 per 63,000 "
                                   "pages. Are you sure you want to continue?"),
                    QMessageBox::NoButton, this);
    box.setObjectName(QStringLiteral("openai-embedding-alert"));
    QPushButton* use =
        box.addButton(QStringLiteral("Use OpenAI for embedding"), QMessageBox::AcceptRole);
    QPushButton* cancel = box.addButton(QStringLiteral("Cancel"), QMessageBox::RejectRole);
    use->setAccessibleName(use->text());
    cancel->setAccessibleName(cancel->text());
    box.setDefaultButton(cancel);
    box.exec();
    return box.clickedButton() == use;
}

}  // namespace folvane
