#include "shell/settings/AdvancedTab.h"

#include <QButtonGroup>
#include <QFormLayout>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QSignalBlocker>
#include <QSlider>
#include <QSpinBox>
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

    QButtonGroup* group = makeChoices(
        {{QStringLiteral("Fast"), QStringLiteral("Free. Run locally. Less accurate than OpenAI"),
          int(DataIngestionStrategy::local)},
         {QStringLiteral("Accurate"),
          QStringLiteral("Better accuracy. Estimated cost: $1 per 63,000 pages"),
          int(DataIngestionStrategy::openai)},
         {QStringLiteral("Smart (Recommended)"),
          QStringLiteral("Use fast indexing for large documents"),
          int(DataIngestionStrategy::smart)}});
    addRow(form, QStringLiteral("Indexing Strategy:"), static_cast<QWidget*>(group->parent()),
           group->buttons().front());

    auto* threshold = new QSpinBox(this);
    threshold->setAccessibleName(QStringLiteral("Page count threshold"));
    threshold->setRange(0, largestThreshold);
    threshold->setSuffix(QStringLiteral(" pages"));
    QWidget* thresholdRow = withHelp(threshold, thresholdHelp(300));
    auto* thresholdNote = thresholdRow->findChild<QLabel*>();
    addRow(form, QStringLiteral("Page count threshold:"), thresholdRow, threshold);

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
           [this, group, form, threshold, thresholdRow, thresholdNote] {
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
               form->setRowVisible(thresholdRow, smart);
           });

    auto* tasksRow = new QWidget(this);
    tasksRow->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
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
    tasksLayout->addWidget(makeHelp(
        QStringLiteral("Parallel Indexing allows you to control the number of concurrent indexing "
                       "tasks. Fewer tasks (2-5) are more stable but slower, while more tasks "
                       "(7-10) are faster but potentially less reliable."),
        tasks, tasksRow));
    addRow(form, QStringLiteral("Parallel Indexing:"), tasksRow, tasks);
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
