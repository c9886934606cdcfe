#include "shell/settings/AdvancedTab.h"

#include <QButtonGroup>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QMessageBox>
#include <QPointer>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalBlocker>
#include <QSlider>
#include <QSpinBox>
#include <QVBoxLayout>

#include "SimilaritySearchKit/DistilbertEmbeddings.h"
#include "SimilaritySearchKit/ModelDownload.h"
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

// The least time between two progress updates posted to the main thread.
constexpr auto progressInterval = std::chrono::milliseconds(200);

QString megabytes(std::uint64_t bytes) {
    return QString::number(double(bytes) / 1e6, 'f', 1) + QStringLiteral(" MB");
}

QString progressText(const ModelDownloadProgress& progress) {
    QString text = megabytes(progress.bytesDone);
    if (progress.totalBytes) text += QStringLiteral(" of ") + megabytes(*progress.totalBytes);
    text += QStringLiteral(", ") + megabytes(std::uint64_t(progress.bytesPerSecond)) +
            QStringLiteral("/s");
    if (progress.secondsLeft)
        text += QStringLiteral(", ") + QString::number(qRound64(*progress.secondsLeft)) +
                QStringLiteral(" s left");
    return text;
}

}  // namespace

AdvancedTab::AdvancedTab(AppPreferences& preferences, QWidget* parent)
    : AdvancedTab(preferences, nullptr, {}, parent) {}

AdvancedTab::~AdvancedTab() = default;

AdvancedTab::AdvancedTab(AppPreferences& preferences, std::shared_ptr<HttpClient> http,
                         std::filesystem::path modelsDirectory, QWidget* parent)
    : SettingsPage(preferences, parent),
      http_(std::move(http)),
      modelsDirectory_(std::move(modelsDirectory)) {
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
    if (http_) addModelDownload(form);
}

void AdvancedTab::addModelDownload(QFormLayout* form) {
    auto* row = new QWidget(this);
    auto* layout = new QVBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    auto* buttons = new QHBoxLayout;
    downloadButton_ = new QPushButton(QStringLiteral("Download"), row);
    downloadButton_->setAccessibleName(QStringLiteral("Download the local model"));
    cancelButton_ = new QPushButton(QStringLiteral("Cancel"), row);
    cancelButton_->setAccessibleName(QStringLiteral("Cancel the download"));
    cancelButton_->setVisible(false);
    buttons->addWidget(downloadButton_);
    buttons->addWidget(cancelButton_);
    buttons->addStretch();
    downloadBar_ = new QProgressBar(row);
    downloadBar_->setAccessibleName(QStringLiteral("Model download progress"));
    downloadBar_->setVisible(false);
    downloadStatus_ = new QLabel(row);
    downloadStatus_->setWordWrap(true);
    downloadStatus_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    layout->addLayout(buttons);
    layout->addWidget(downloadBar_);
    layout->addWidget(downloadStatus_);
    layout->addWidget(makeHelp(
        QStringLiteral("Downloads the weights of the local embedding model (about 265 MB) from "
                       "the address in the setting embeddingModelURL. An interrupted download "
                       "resumes where it stopped."),
        downloadButton_, row));
    addRow(form, QStringLiteral("Local model:"), row, downloadButton_);
    connect(downloadButton_, &QPushButton::clicked, this, &AdvancedTab::startDownload);
    connect(cancelButton_, &QPushButton::clicked, this, [this] {
        worker_.request_stop();
        cancelButton_->setEnabled(false);
    });
}

void AdvancedTab::startDownload() {
    if (worker_.joinable()) worker_.join();  // the last one has ended: it posted its result
    const ModelDownload::Request request{preferences().embeddingModelURL(), modelsDirectory_,
                                         DistilbertEmbeddings::weightsFileName,
                                         preferences().embeddingModelSHA256()};
    downloadButton_->setEnabled(false);
    cancelButton_->setEnabled(true);
    cancelButton_->setVisible(true);
    downloadBar_->setVisible(true);
    downloadBar_->setRange(0, 0);
    downloadStatus_->setText(QStringLiteral("Starting the download…"));

    QPointer<AdvancedTab> tab(this);
    worker_ = std::jthread([tab, request, http = http_](std::stop_token stop) {
        auto lastPost = std::chrono::steady_clock::time_point{};
        auto onProgress = [&](const ModelDownloadProgress& progress) {
            const auto now = std::chrono::steady_clock::now();
            if (now - lastPost < progressInterval) return;
            lastPost = now;
            QMetaObject::invokeMethod(
                tab,
                [tab, progress] {
                    if (!tab || !tab->cancelButton_->isEnabled()) return;
                    if (progress.totalBytes && *progress.totalBytes > 0) {
                        tab->downloadBar_->setRange(0, 1000);
                        tab->downloadBar_->setValue(int(1000.0 * double(progress.bytesDone) /
                                                        double(*progress.totalBytes)));
                    }
                    tab->downloadStatus_->setText(progressText(progress));
                },
                Qt::QueuedConnection);
        };
        std::optional<ModelDownloadResult> result;
        QString failure;
        try {
            result = ModelDownload(http).run(request, onProgress, stop);
        } catch (const std::exception& error) {
            // The worker's boundary: the failure becomes the tab's status.
            failure = QString::fromStdString(error.what());
        }
        QMetaObject::invokeMethod(
            tab,
            [tab, result, failure, request] {
                if (!tab) return;
                tab->downloadButton_->setEnabled(true);
                tab->cancelButton_->setVisible(false);
                tab->downloadBar_->setVisible(false);
                if (!result) {
                    tab->downloadStatus_->setText(failure);
                    return;
                }
                QString text = QStringLiteral("Downloaded to ") +
                               QString::fromStdString(result->path.string()) +
                               QStringLiteral("\nSHA-256 ") +
                               QString::fromStdString(result->sha256);
                if (request.expectedSHA256.empty()) {
                    tab->write([&] { tab->preferences().setEmbeddingModelSHA256(result->sha256); });
                    text += QStringLiteral(" (stored: later downloads must match it)");
                }
                tab->downloadStatus_->setText(text);
            },
            Qt::QueuedConnection);
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
