#include "ui/panels/RegionControls.h"

#include <algorithm>
#include <utility>

#include <QHBoxLayout>

#include "app/TimeText.h"
#include "app/Transport.h"
#include "audio/AudioEngine.h"
#include "ui/controls/ControlPanel.h"
#include "ui/controls/TimePickerField.h"
#include "ui/look/Divider.h"
#include "ui/look/TextLabel.h"
#include "ui/look/WrappingRow.h"

namespace ambrel {

double RegionControls::Time::changed(double time) const {
    // The fields show whole milliseconds: while they show this time, keep its fraction.
    const std::int64_t shown = minutes * 60000 + seconds * 1000 + milliseconds;
    return shown == wholeMilliseconds(time) ? time : secondsOf(shown);
}

void RegionControls::Time::show(double time) {
    const std::int64_t total = wholeMilliseconds(time);
    milliseconds = total % 1000;
    seconds = total / 1000 % 60;
    minutes = total / 60000;
    for (TimePickerField* field : fields)
        field->refresh();
}

RegionControls::RegionControls(std::shared_ptr<AppState> state, std::shared_ptr<AudioEngine> engine,
                               QWidget* parent)
    : QWidget(parent), state_(std::move(state)), engine_(std::move(engine)) {
    const auto makeLabel = [](const QString& text) {
        return new TextLabel(text, Theme::TextStyle::caption, Theme::TextColour::secondary);
    };
    auto* divider = new Divider(Qt::Vertical);
    auto* start = new ControlRow(16);
    start->add(makeLabel(QStringLiteral("Start")));
    start->add(makeGroup(QStringLiteral("Start"), start_, &RegionControls::applyStart));
    start->add(divider);
    auto* end = new ControlRow(16);
    end->add(makeLabel(QStringLiteral("End")));
    end->add(makeGroup(QStringLiteral("End"), end_, &RegionControls::applyEnd));
    auto* place = new QHBoxLayout(this);
    place->setContentsMargins(0, 0, 0, 0);
    place->addWidget(new WrappingRow(16, {start, end}));
    setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Fixed);

    Theme::follow(divider, [divider] { divider->setFixedHeight(Theme::length(40)); });
    state_->observe(this, {AppState::Field::regionStart, AppState::Field::regionEnd},
                    [this] { syncFromState(); });
}

QWidget* RegionControls::makeGroup(const QString& name, Time& time,
                                   void (RegionControls::*apply)()) {
    auto* group = new ControlRow(2);
    std::size_t place = 0;
    const auto addField = [&](const char* unit, std::int64_t& number, std::int64_t highest) {
        auto* field = new TimePickerField(name + QLatin1Char(' ') + QLatin1String(unit),
                                          {.get = [&number] { return number; },
                                           .set = [&number](std::int64_t value) { number = value; },
                                           .lowest = 0,
                                           .highest = highest,
                                           .committed = [this, apply] { (this->*apply)(); }});
        time.fields.at(place++) = field;
        group->add(field);
    };
    const auto addColon = [&] {
        auto* colon = new TextLabel(QStringLiteral(":"), Theme::TextStyle::body);
        colon->setMonospaced(true);
        group->add(colon);
    };
    addField("minutes", time.minutes, 999);
    addColon();
    addField("seconds", time.seconds, 59);
    addColon();
    addField("milliseconds", time.milliseconds, 999);
    return group;
}

void RegionControls::applyStart() {
    const double time = start_.changed(state_->regionStart());
    state_->setRegionStart(std::max(std::min(time, state_->regionEnd()), 0.0));
    regionCommitted();
}

void RegionControls::applyEnd() {
    const double time = end_.changed(state_->regionEnd());
    state_->setRegionEnd(std::max(std::min(time, state_->audioDuration()), state_->regionStart()));
    regionCommitted();
}

void RegionControls::regionCommitted() {
    state_->settingsDidChange();
    if (state_->isPlaying())
        transport::restartRegion(*state_, *engine_);
    syncFromState();
}

void RegionControls::syncFromState() {
    start_.show(state_->regionStart());
    end_.show(state_->regionEnd());
}

} // namespace ambrel
