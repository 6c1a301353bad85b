#include "ui/window/Announcer.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <iterator>
#include <utility>

#include <QAbstractSlider>
#include <QApplication>
#include <QComboBox>
#include <QLineEdit>
#include <QStatusBar>

#include "app/TimeText.h"
#include "app/TypedNumber.h"
#include "ui/look/AccessibleFactory.h"

namespace ambrel {
namespace {

using Field = AppState::Field;

constexpr std::chrono::milliseconds kRest{250};
/// Screen readers leave out what they are told among the hundreds of events of a new screen.
constexpr std::chrono::milliseconds kRestOfNewScreen{2000};

constexpr std::array kAnnounced = {Field::isPlaying,
                                   Field::speed,
                                   Field::pitch,
                                   Field::speedStep,
                                   Field::regionStart,
                                   Field::regionEnd,
                                   Field::eqGains,
                                   Field::loopEnabled,
                                   Field::loopDelaySeconds,
                                   Field::loopDelayMilliseconds};

/// Screen readers ask notifications in a status bar for no more than their text.
QWidget* makeStatusBar(QWidget* parent) {
    auto* bar = new QStatusBar(parent);
    bar->setFixedSize(0, 0);
    return bar;
}

bool isTypedInto(const QWidget* focus) {
    return qobject_cast<const QLineEdit*>(focus);
}

bool isSetByTimeFields(Field field) {
    return field == Field::regionStart || field == Field::regionEnd ||
           field == Field::loopDelaySeconds || field == Field::loopDelayMilliseconds;
}

/// Whether the control that has the focus tells of this change by itself.
bool tells(const QWidget* focus, Field field) {
    switch (field) {
    case Field::speedStep:
        return qobject_cast<const QComboBox*>(focus);
    case Field::eqGains:
        return qobject_cast<const QAbstractSlider*>(focus);
    case Field::loopEnabled:
        return focus && focus->accessibleName() == QLatin1String("Loop");
    default:
        return false;
    }
}

} // namespace

Announcer::Announcer(std::shared_ptr<AppState> state, QWidget* parent)
    : QWidget(makeStatusBar(parent)), state_(std::move(state)) {
    describeAs<Announcer, QAccessible::Notification>();
    rest_.setSingleShot(true);
    connect(&rest_, &QTimer::timeout, this, &Announcer::announce);
    connect(state_.get(), &AppState::changed, this, &Announcer::note);
}

void Announcer::note(Field field) {
    if (field == Field::loadingState) {
        const bool wasLoaded = std::exchange(isLoaded_, state_->loadingState().isLoaded());
        if (isLoaded_ == wasLoaded)
            return;
        news_.clear();
        for (const Field each : kAnnounced)
            told_[each] = textOf(each);
    } else if (!isLoaded_ || !told_.contains(field)) {
        return;
    }
    const QWidget* focus = QApplication::focusWidget();
    // Time fields that are left untouched set what they have shown. Yet who types into one wants to
    // know what has become of a number that was out of range.
    const bool isNews =
        !isSetByTimeFields(field) || textOf(field) != told_.value(field) || isTypedInto(focus);
    if (!isNews || tells(focus, field))
        return;
    if (!news_.contains(field))
        news_ << field;
    rest_.start(news_.contains(Field::loadingState) ? kRestOfNewScreen : kRest);
}

void Announcer::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::ActivationChange && isActiveWindow() && !news_.isEmpty())
        rest_.start(kRestOfNewScreen);
}

void Announcer::announce() {
    if (!isActiveWindow())
        return; // later
    QStringList texts;
    for (const Field field : std::exchange(news_, {}))
        texts << (told_[field] = textOf(field));
    texts.removeDuplicates(); // the two parts of the delay
    setAccessibleName(texts.join(QStringLiteral(", ")));
    QAccessibleEvent shown(this, QAccessible::ObjectShow);
    QAccessible::updateAccessibility(&shown);
}

QString Announcer::textOf(Field field) const {
    switch (field) {
    case Field::loadingState:
        return QStringLiteral("%1, %2").arg(state_->audioFileURL().value_or(QUrl()).fileName(),
                                            spokenTime(state_->audioDuration()));
    case Field::isPlaying:
        if (state_->isPlaying())
            return QStringLiteral("Playing");
        if (state_->playbackPosition() == state_->regionStart())
            return QStringLiteral("Stopped");
        return QStringLiteral("Paused at %1").arg(spokenTime(state_->playbackPosition()));
    case Field::speed:
        return QStringLiteral("Speed %1%").arg(wholePart(state_->speed()));
    case Field::pitch:
        return QStringLiteral("Pitch %1").arg(counted(std::trunc(state_->pitch()), "cent"));
    case Field::speedStep:
        return QStringLiteral("Speed step %1%").arg(state_->speedStep());
    case Field::regionStart:
        return QStringLiteral("Start %1").arg(spokenTime(state_->regionStart()));
    case Field::regionEnd:
        return QStringLiteral("End %1").arg(spokenTime(state_->regionEnd()));
    case Field::eqGains:
        return std::ranges::count(state_->eqGains(), 0) == std::ssize(state_->eqGains())
                   ? QStringLiteral("Equaliser reset")
                   : QStringLiteral("Equaliser changed");
    case Field::loopEnabled:
        return state_->loopEnabled() ? QStringLiteral("Loop on") : QStringLiteral("Loop off");
    case Field::loopDelaySeconds:
    case Field::loopDelayMilliseconds:
        return QStringLiteral("Loop delay %1")
            .arg(spokenTime(double(state_->loopDelaySeconds()) +
                            double(state_->loopDelayMilliseconds()) / 1000));
    default:
        return {};
    }
}

} // namespace ambrel
