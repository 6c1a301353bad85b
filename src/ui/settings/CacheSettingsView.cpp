#include "ui/settings/CacheSettingsView.h"

#include <limits>

#include <QVBoxLayout>

#include "app/TypedNumber.h"
#include "platform/desktop/ApplicationBundle.h"
#include "store/DownloadSettingsStore.h"
#include "ui/controls/FolderLabel.h"
#include "ui/controls/PushButton.h"
#include "ui/settings/ClearConfirmation.h"
#include "ui/settings/FormScroller.h"
#include "ui/settings/LimitControl.h"
#include "ui/settings/LimitPresets.h"
#include "ui/sheets/FolderPanel.h"
#include "ui/sheets/SheetBlocker.h"
#include "waveform/WaveformCache.h"

namespace ambrel {
namespace {

constexpr double kRowSpacing = 8;
constexpr std::int64_t kMostDays = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kMostMB =
    std::numeric_limits<std::int64_t>::max() / kBytesPerMB; // whose bytes can still be counted

template <typename Presets> QStringList labelsOf(const Presets& presets) {
    QStringList labels;
    for (const auto& preset : presets)
        labels << preset.label;
    return labels;
}

QWidget* makeLabelledRow(const QString& label, QWidget* value, QWidget* button = nullptr) {
    auto* row = new ControlRow(kRowSpacing);
    row->add(new TextLabel(label, Theme::TextStyle::body));
    row->add(value, 1);
    if (button)
        row->add(button);
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
    setDownloadDirectory(downloads_.downloadDirectory());
    loadCurrent();
}

QWidget* CacheSettingsView::makeForm() {
    auto* form = new QWidget;
    auto* column = new QVBoxLayout(form);
    Theme::space(column, 10, {16, 16, 16, 8});
    column->addWidget(makeDownloads());
    column->addWidget(makeCache());
    column->addWidget(sizeLimit_ = makeSizeLimit());
    column->addWidget(ageLimit_ = makeAgeLimit());
    return form;
}

QWidget* CacheSettingsView::makeDownloads() {
    auto* section = new ControlPanel(QStringLiteral("Downloads"), kRowSpacing);
    folder_ = new FolderLabel(Theme::TextStyle::body);
    folder_->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    auto* change = new PushButton(QStringLiteral("Change…"));
    connect(change, &PushButton::clicked, this, &CacheSettingsView::chooseDownloadDirectory);
    section->addRow(makeLabelledRow(QStringLiteral("Download folder"), folder_, change));

    auto* reset = new PushButton(QStringLiteral("Reset to Default"));
    connect(reset, &PushButton::clicked, this, [this] {
        downloads_.resetDownloadDirectory();
        setDownloadDirectory(downloads_.downloadDirectory());
    });
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

LimitControl* CacheSettingsView::makeSizeLimit() {
    auto* section = new LimitControl({.title = QStringLiteral("Max Cache Size"),
                                      .group = QStringLiteral("Size limit"),
                                      .presets = labelsOf(sizePresets()),
                                      .field = QStringLiteral("Custom size"),
                                      .placeholder = QStringLiteral("MB"),
                                      .unit = QStringLiteral("MB"),
                                      .highest = double(kMostMB)});
    connect(section, &LimitControl::presetChosen, this, &CacheSettingsView::chooseSizePreset);
    connect(section, &LimitControl::customSubmitted, this, &CacheSettingsView::commitCustomSize);
    return section;
}

LimitControl* CacheSettingsView::makeAgeLimit() {
    auto* section = new LimitControl({.title = QStringLiteral("Max Cache Age"),
                                      .group = QStringLiteral("Age limit"),
                                      .presets = labelsOf(agePresets()),
                                      .field = QStringLiteral("Custom age"),
                                      .placeholder = QStringLiteral("Days"),
                                      .unit = QStringLiteral("days"),
                                      .highest = double(kMostDays)});
    connect(section, &LimitControl::presetChosen, this, &CacheSettingsView::chooseAgePreset);
    connect(section, &LimitControl::customSubmitted, this, &CacheSettingsView::commitCustomAge);
    return section;
}

bool CacheSettingsView::event(QEvent* event) {
    if (event->type() == QEvent::WindowActivate)
        refreshStats();
    return QWidget::event(event);
}

void CacheSettingsView::loadCurrent() {
    const auto bytes = cache_.maxTotalBytes();
    const int sizePreset = placeOf(bytes, sizePresets());
    sizeLimit_->setPreset(sizePreset);
    if (SizePreset(sizePreset) == SizePreset::custom)
        sizeLimit_->setCustom(QString::number(*bytes / kBytesPerMB));

    const auto seconds = cache_.maxAgeSeconds();
    const int agePreset = placeOf(seconds, agePresets());
    ageLimit_->setPreset(agePreset);
    if (AgePreset(agePreset) == AgePreset::custom)
        ageLimit_->setCustom(wholePart(*seconds / kSecondsPerDay));
    refreshStats();
}

void CacheSettingsView::refreshStats() {
    maintenance_.refreshStats();
}

void CacheSettingsView::showStats(const CacheMaintenance::Stats& stats) {
    entryCount_->setText(QString::number(stats.entryCount));
    const double totalMB = double(stats.totalBytes) / double(kBytesPerMB);
    totalMB_->setText(oneDecimal(totalMB) + QStringLiteral(" MB"));
}

/// Choosing "custom" changes nothing until a number is committed.
void CacheSettingsView::chooseSizePreset(int place) {
    if (SizePreset(place) != SizePreset::custom)
        cache_.setMaxTotalBytes(sizePresets().at(std::size_t(place)).limit);
}

void CacheSettingsView::chooseAgePreset(int place) {
    if (AgePreset(place) != AgePreset::custom)
        cache_.setMaxAgeSeconds(agePresets().at(std::size_t(place)).limit);
}

void CacheSettingsView::commitCustomSize() {
    const auto size = typedWholeNumber(sizeLimit_->custom());
    if (!size || *size < 1 || *size > kMostMB)
        return;
    cache_.setMaxTotalBytes(*size * kBytesPerMB);
    sizeLimit_->selectCustom();
}

void CacheSettingsView::commitCustomAge() {
    const auto days = typedWholeNumber(ageLimit_->custom());
    if (!days || *days < 1)
        return;
    cache_.setMaxAgeSeconds(double(*days) * kSecondsPerDay);
    ageLimit_->selectCustom();
}

void CacheSettingsView::chooseDownloadDirectory() {
    if (folderPanel_)
        return folderPanel_->activateWindow();
    folderPanel_ = new FolderPanel(downloadDirectory_, this);
    connect(folderPanel_, &FolderPanel::folderChosen, this, [this](const QUrl& folder) {
        downloads_.setDownloadDirectory(folder);
        setDownloadDirectory(folder);
    });
    SheetBlocker::present(folderPanel_, window());
}

void CacheSettingsView::setDownloadDirectory(const QUrl& folder) {
    downloadDirectory_ = folder;
    folder_->setFolder(folder);
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
