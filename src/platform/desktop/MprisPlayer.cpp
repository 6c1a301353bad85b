#include "platform/desktop/MprisPlayer.h"

#include <algorithm>
#include <array>
#include <utility>

#include <QCoreApplication>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QGuiApplication>

namespace ambrel {
namespace {

const QString kPath = QStringLiteral("/org/mpris/MediaPlayer2");
const QString kApplication = QStringLiteral("org.mpris.MediaPlayer2");
const QString kPlayer = kApplication + QStringLiteral(".Player");
const QString kProperties = QStringLiteral("org.freedesktop.DBus.Properties");

const QString kLoopStatus = QStringLiteral("LoopStatus");
const QString kRate = QStringLiteral("Rate");
const std::array kWritable = {kLoopStatus, kRate};

QString loopText(bool loops) {
    return loops ? QStringLiteral("Track") : QStringLiteral("None");
}

QString playbackText(MprisPlayer::Playback playback) {
    switch (playback) {
    case MprisPlayer::Playback::playing:
        return QStringLiteral("Playing");
    case MprisPlayer::Playback::paused:
        return QStringLiteral("Paused");
    case MprisPlayer::Playback::stopped:
        break;
    }
    return QStringLiteral("Stopped");
}

QVariantMap metadata(const MprisPlayer::State& state, int track) {
    if (state.file.isEmpty())
        return {};
    const QDBusObjectPath id(QStringLiteral("/ambrel/track/%1").arg(track));
    return {{QStringLiteral("mpris:trackid"), QVariant::fromValue(id)},
            {QStringLiteral("mpris:length"), qlonglong(state.microseconds)},
            {QStringLiteral("xesam:title"), state.title},
            {QStringLiteral("xesam:url"), QString::fromLatin1(state.file.toEncoded())}};
}

/// Of the program, which never change.
QVariantMap applicationProperties() {
    return {{QStringLiteral("CanQuit"), true},
            {QStringLiteral("CanRaise"), true},
            {QStringLiteral("DesktopEntry"), QGuiApplication::desktopFileName()},
            {QStringLiteral("HasTrackList"), false},
            {QStringLiteral("Identity"), QStringLiteral("Ambrel")},
            {QStringLiteral("SupportedMimeTypes"), QStringList()},
            {QStringLiteral("SupportedUriSchemes"), QStringList()}};
}

QVariantMap playerProperties(const MprisPlayer::State& state, int track, double lowestRate,
                             double highestRate) {
    return {{QStringLiteral("CanControl"), true},
            {QStringLiteral("CanGoNext"), false},
            {QStringLiteral("CanGoPrevious"), false},
            {QStringLiteral("CanPause"), state.canPlay},
            {QStringLiteral("CanPlay"), state.canPlay},
            {QStringLiteral("CanSeek"), false}, // playback starts where the region does
            {kLoopStatus, loopText(state.loops)},
            {QStringLiteral("MaximumRate"), highestRate},
            {QStringLiteral("Metadata"), metadata(state, track)},
            {QStringLiteral("MinimumRate"), lowestRate},
            {QStringLiteral("PlaybackStatus"), playbackText(state.playback)},
            {kRate, std::clamp(state.rate, lowestRate, highestRate)},
            {QStringLiteral("Volume"), 1.0}}; // always as loud as the file; the mixer's is not ours
}

} // namespace

MprisPlayer::MprisPlayer(Program program)
    : program_(std::move(program)), methods_(makeMethods()), bus_(QDBusConnection::sessionBus()) {
    update();
    if (bus_.isConnected() && bus_.registerVirtualObject(kPath, this))
        requestName(kApplication + QStringLiteral(".ambrel"));
}

std::vector<MprisPlayer::Method> MprisPlayer::makeMethods() {
    const auto play = [this] {
        if (state_.canPlay && state_.playback != Playback::playing)
            program_.play();
    };
    const auto pause = [this] {
        if (state_.playback == Playback::playing)
            program_.pause();
    };
    const auto playPause = [=, this] {
        if (state_.playback == Playback::playing)
            pause();
        else
            play();
    };
    const auto stop = [this] {
        if (!state_.file.isEmpty())
            program_.stop();
    };
    const QString none;
    return {{kApplication, QStringLiteral("Raise"), none, program_.raise},
            {kApplication, QStringLiteral("Quit"), none, program_.quit},
            {kPlayer, QStringLiteral("Play"), none, play},
            {kPlayer, QStringLiteral("Pause"), none, pause},
            {kPlayer, QStringLiteral("PlayPause"), none, playPause},
            {kPlayer, QStringLiteral("Stop"), none, stop},
            {kPlayer, QStringLiteral("Next"), none, {}},
            {kPlayer, QStringLiteral("Previous"), none, {}},
            {kPlayer, QStringLiteral("Seek"), QStringLiteral("x"), {}},
            {kPlayer, QStringLiteral("SetPosition"), QStringLiteral("ox"), {}},
            {kPlayer, QStringLiteral("OpenUri"), QStringLiteral("s"), {}}};
}

/// Asks for it as Qt does, but without waiting.
void MprisPlayer::requestName(const QString& name) {
    constexpr uint doNotQueue = 4;
    constexpr uint isOwner = 1;
    auto request = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("RequestName"));
    request << name << doNotQueue;
    auto* waiting = new QDBusPendingCallWatcher(bus_.asyncCall(request), this);
    connect(waiting, &QDBusPendingCallWatcher::finished, this, [this, name, waiting] {
        waiting->deleteLater();
        const QDBusPendingReply<uint> reply = *waiting;
        const auto instance = QStringLiteral(".instance%1").arg(QCoreApplication::applicationPid());
        if (reply.isValid() && reply.value() != isOwner && !name.endsWith(instance))
            requestName(name + instance);
    });
}

void MprisPlayer::update() {
    const State before = std::exchange(state_, program_.state());
    if (state_.file != before.file)
        ++track_;
    const QVariantMap former = std::exchange(
        shown_, playerProperties(state_, track_, program_.lowestRate, program_.highestRate));
    QVariantMap changed;
    for (auto property = shown_.cbegin(); property != shown_.cend(); ++property) {
        if (former.value(property.key()) != property.value())
            changed.insert(property.key(), property.value());
    }
    if (!former.isEmpty() && !changed.isEmpty())
        send(kProperties, QStringLiteral("PropertiesChanged"), {kPlayer, changed, QStringList()});
}

void MprisPlayer::tellPosition() {
    send(kPlayer, QStringLiteral("Seeked"), {qlonglong(program_.position())});
}

void MprisPlayer::send(const QString& interface, const QString& signal,
                       const QVariantList& arguments) {
    auto message = QDBusMessage::createSignal(kPath, interface, signal);
    message.setArguments(arguments);
    bus_.send(message);
}

/// Empty for an interface that there is not.
QVariantMap MprisPlayer::properties(const QString& interface) const {
    if (interface == kApplication)
        return applicationProperties();
    if (interface != kPlayer)
        return {};
    QVariantMap properties = shown_;
    properties.insert(QStringLiteral("Position"), qlonglong(program_.position()));
    return properties;
}

QString MprisPlayer::introspect(const QString&) const {
    QString text;
    for (const QString& interface : {kApplication, kPlayer}) {
        text += QStringLiteral("<interface name='%1'>").arg(interface);
        for (const Method& method : methods_) {
            if (method.interface != interface)
                continue;
            text += QStringLiteral("<method name='%1'>").arg(method.name);
            for (const QChar type : method.signature)
                text += QStringLiteral("<arg type='%1' direction='in'/>").arg(type);
            text += QStringLiteral("</method>");
        }
        const QVariantMap all = properties(interface);
        for (auto property = all.cbegin(); property != all.cend(); ++property) {
            const bool isWritable = std::ranges::count(kWritable, property.key()) > 0;
            text += QStringLiteral("<property name='%1' type='%2' access='%3'/>")
                        .arg(property.key(),
                             QString::fromLatin1(
                                 QDBusMetaType::typeToSignature(property.value().metaType())),
                             isWritable ? QStringLiteral("readwrite") : QStringLiteral("read"));
        }
        if (interface == kPlayer)
            text += QStringLiteral("<signal name='Seeked'><arg type='x'/></signal>");
        text += QStringLiteral("</interface>");
    }
    return text;
}

bool MprisPlayer::handleMessage(const QDBusMessage& message, const QDBusConnection& connection) {
    update(); // a caller that has just changed something sees it
    const QDBusMessage reply = answer(message);
    if (reply.type() == QDBusMessage::InvalidMessage)
        return false; // Qt's to answer
    if (message.isReplyRequired())
        connection.send(reply);
    return true;
}

/// Invalid for a method that there is not.
QDBusMessage MprisPlayer::answer(const QDBusMessage& message) {
    if (message.interface() == kProperties)
        return answerAboutProperties(message);
    const auto method = std::ranges::find_if(methods_, [&](const Method& candidate) {
        return candidate.interface == message.interface() && candidate.name == message.member();
    });
    if (method == methods_.end())
        return {};
    if (message.signature() != method->signature)
        return message.createErrorReply(QDBusError::InvalidArgs,
                                        QStringLiteral("These are not its arguments."));
    if (!method->call)
        return message.createErrorReply(QDBusError::NotSupported,
                                        QStringLiteral("Ambrel cannot do that."));
    method->call();
    return message.createReply();
}

QDBusMessage MprisPlayer::answerAboutProperties(const QDBusMessage& message) {
    const QVariantList arguments = message.arguments();
    const QString call = message.member() + message.signature();
    const QVariantMap all =
        arguments.isEmpty() ? QVariantMap() : properties(arguments[0].toString());
    if (call == QStringLiteral("GetAlls"))
        return message.createReply(all);
    const bool gets = call == QStringLiteral("Getss");
    if (!gets && call != QStringLiteral("Setssv"))
        return {};
    const QString name = arguments[1].toString();
    if (!all.contains(name))
        return message.createErrorReply(QDBusError::UnknownProperty,
                                        QStringLiteral("There is no such property."));
    if (gets)
        return message.createReply(QVariant::fromValue(QDBusVariant(all.value(name))));
    if (std::ranges::count(kWritable, name) == 0)
        return message.createErrorReply(QDBusError::PropertyReadOnly,
                                        QStringLiteral("It cannot be set."));
    return set(message, name, arguments[2].value<QDBusVariant>().variant());
}

QDBusMessage MprisPlayer::set(const QDBusMessage& message, const QString& name,
                              const QVariant& value) {
    const bool isRate = name == kRate;
    if (state_.file.isEmpty())
        return message.createErrorReply(QDBusError::Failed, QStringLiteral("No file is open."));
    if (isRate && value.metaType() == QMetaType::fromType<double>()) {
        if (value.toDouble() != 0)
            program_.setRate(value.toDouble());
        else if (state_.playback == Playback::playing)
            program_.pause(); // what 0 means there
        return message.createReply();
    }
    if (!isRate && (value == loopText(true) || value == loopText(false))) {
        if (value != loopText(state_.loops))
            program_.toggleLoop();
        return message.createReply();
    }
    return message.createErrorReply(QDBusError::InvalidArgs,
                                    QStringLiteral("It cannot be set to this."));
}

} // namespace ambrel
