#include "ui/settings/CacheSettingsView.h"

#include <limits>
#include <optional>

#include <QVBoxLayout>

#include "app/TypedNumber.h"
#include "platform/desktop/ApplicationBundle.h"
#include "ui/controls/PushButton.h"
#include "ui/look/TextLabel.h"
#include "ui/settings/ClearConfirmation.h"
#include "ui/settings/FormScroller.h"
#include "ui/settings/LimitControl.h"
#include "ui/sheets/DownloadFolderRow.h"
#include "ui/sheets/SheetBlocker.h"
#include "waveform/WaveformCache.h"

namespace ambrel {
namespace {

constexpr double kRowSpacing = 8;
constexpr std::int64_t kBytesPerMB = 1048576;
constexpr double kSecondsPerDay = 86400;

QWidget* makeLabelledRow(const QString& label, QWidget* value) {
    auto* row = new ControlRow(kRowSpacing);
    row->add(new TextLabel(label, Theme::TextStyle::body));
    row->add(value, 1);
    return row;
}

/// At the right end of its row, under the row's label as its description.
TextLabel* makeFigure(const QString& description) {
    auto* figure = new TextLabel(Theme::TextStyle::body, Theme::TextColour::secondary);
    figure->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    figure->setAccessibleDescription(description);
    return figure;
}

QWidget* makeButtonRow(PushButton* button) {
    auto* row = new ControlRow(kRowSpacing);
    row->add(button);
    row->addStretch();
    return row;
}

LimitControl* makeSizeLimit(WaveformCache& cache) {
    // What "Custom" takes is exact as a double, and its bytes fit the type.
    return new LimitControl(
        {.title = QStringLiteral("Max Cache Size"),
         .group = QStringLiteral("Size limit"),
         .presets = {{QStringLiteral("1 MB"), 1},
                     {QStringLiteral("50 MB"), 50},
                     {QStringLiteral("100 MB"), 100},
                     {QStringLiteral("Unlimited"), {}}},
         .field = QStringLiteral("Custom size"),
         .placeholder = QStringLiteral("MB"),
         .unit = QStringLiteral("MB"),
         .highest = std::numeric_limits<std::int64_t>::max() / kBytesPerMB,
         .get = [&cache]() -> std::optional<double> {
             const auto bytes = cache.maxTotalBytes();
             return bytes ? std::optional(double(*bytes) / double(kBytesPerMB)) : std::nullopt;
         },
         .set =
             [&cache](std::optional<double> megabytes) {
                 cache.setMaxTotalBytes(megabytes
                                            ? std::optional(std::int64_t(*megabytes) * kBytesPerMB)
                                            : std::nullopt);
             }});
}

LimitControl* makeAgeLimit(WaveformCache& cache) {
    return new LimitControl(
        {.title = QStringLiteral("Max Cache Age"),
         .group = QStringLiteral("Age limit"),
         .presets = {{QStringLiteral("7 days"), 7},
                     {QStringLiteral("14 days"), 14},
                     {QStringLiteral("1 month"), 30},
                     {QStringLiteral("6 months"), 180},
                     {QStringLiteral("1 year"), 365},
                     {QStringLiteral("Indefinite"), {}}},
         .field = QStringLiteral("Custom age"),
         .placeholder = QStringLiteral("Days"),
         .unit = QStringLiteral("days"),
         .highest = std::numeric_limits<std::int64_t>::max(),
         .get = [&cache]() -> std::optional<double> {
             const auto seconds = cache.maxAgeSeconds();
             return seconds ? std::optional(*seconds / kSecondsPerDay) : std::nullopt;
         },
         .set =
             [&cache](std::optional<double> days) {
                 cache.setMaxAgeSeconds(days ? std::optional(*days * kSecondsPerDay)
                                             : std::nullopt);
             }});
}

} // namespace

CacheSettingsView::CacheSettingsView(const Services& services, QWidget* parent)
    : QWidget(parent), cache_(services.cache), maintenance_(services.maintenance),
      downloads_(services.downloads) {
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(new FormScroller(makeForm()));
    auto* version = new TextLabel(QStringLiteral("Ambrel v") + ApplicationBundle::shortVersion(),
                                  Theme::TextStyle::caption, Theme::TextColour::tertiary);
    column->addWidget(version, 0, Qt::AlignHCenter);

    connect(&maintenance_, &CacheMaintenance::statsRefreshed, this, &CacheSettingsView::showStats);
    Theme::follow(this, [this, version] {
        setFixedWidth(Theme::windowSize({360, 0}, screen()).width());
        version->setContentsMargins(0, Theme::length(2), 0, Theme::length(8));
    });
    maintenance_.refreshStats();
}

QWidget* CacheSettingsView::makeForm() {
    auto* form = new QWidget;
    auto* column = new QVBoxLayout(form);
    Theme::space(column, 10, {16, 16, 16, 8});
    column->addWidget(makeDownloads());
    column->addWidget(makeCache());
    column->addWidget(makeSizeLimit(cache_));
    column->addWidget(makeAgeLimit(cache_));
    return form;
}

QWidget* CacheSettingsView::makeDownloads() {
    auto* section = new ControlPanel(QStringLiteral("Downloads"), kRowSpacing);
    auto* folder = new DownloadFolderRow(downloads_, Theme::TextStyle::body, Qt::AlignRight);
    section->addRow(makeLabelledRow(QStringLiteral("Download folder"), folder));

    auto* reset = new PushButton(QStringLiteral("Reset to Default"));
    connect(reset, &PushButton::clicked, folder, &DownloadFolderRow::resetFolder);
    section->addRow(makeButtonRow(reset));
    return section;
}

QWidget* CacheSettingsView::makeCache() {
    auto* section = new ControlPanel(QStringLiteral("Cache"), kRowSpacing);
    entryCount_ = makeFigure(QStringLiteral("Entries"));
    totalMB_ = makeFigure(QStringLiteral("Total size"));
    section->addRow(makeLabelledRow(QStringLiteral("Entries"), entryCount_));
    section->addRow(makeLabelledRow(QStringLiteral("Total size"), totalMB_));

    auto* clear = new PushButton(QStringLiteral("Clear Cache…"));
    connect(clear, &PushButton::clicked, this, &CacheSettingsView::showClearConfirm);
    section->addRow(makeButtonRow(clear));
    return section;
}

bool CacheSettingsView::event(QEvent* event) {
    if (event->type() == QEvent::WindowActivate)
        maintenance_.refreshStats();
    return QWidget::event(event);
}

void CacheSettingsView::showStats(const CacheMaintenance::Stats& stats) {
    entryCount_->setText(QString::number(stats.entryCount));
    const double totalMB = double(stats.totalBytes) / double(kBytesPerMB);
    totalMB_->setText(oneDecimal(totalMB) + QStringLiteral(" MB"));
}

void CacheSettingsView::showClearConfirm() {
    if (clearConfirm_)
        return clearConfirm_->activateWindow();
    clearConfirm_ = new ClearConfirmation(this);
    connect(clearConfirm_, &ClearConfirmation::confirmed, &maintenance_,
            &CacheMaintenance::clearAll);
    SheetBlocker::present(clearConfirm_, window());
}

} // namespace ambrel
