#include "platform/desktop/ScreenInhibitor.h"

#include <utility>

#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QGuiApplication>
#include <QVariantMap>

namespace ambrel {
namespace {

const QString kPortal = QStringLiteral("org.freedesktop.portal.Desktop");

QDBusMessage screenSaverCall(const QString& method) {
    const QString name = QStringLiteral("org.freedesktop.ScreenSaver");
    return QDBusMessage::createMethodCall(name, QStringLiteral("/org/freedesktop/ScreenSaver"),
                                          name, method);
}

QDBusMessage portalRequest(const QString& reason) {
    constexpr uint idle = 8;
    auto request = QDBusMessage::createMethodCall(
        kPortal, QStringLiteral("/org/freedesktop/portal/desktop"),
        QStringLiteral("org.freedesktop.portal.Inhibit"), QStringLiteral("Inhibit"));
    request << QString() << idle << QVariantMap{{QStringLiteral("reason"), reason}};
    return request;
}

} // namespace

ScreenInhibitor::ScreenInhibitor(const QString& reason)
    : bus_(QDBusConnection::sessionBus()), reason_(reason) {}

ScreenInhibitor::~ScreenInhibitor() {
    release();
}

void ScreenInhibitor::setActive(bool active) {
    if (active == std::exchange(wanted_, active) || asking_ || !bus_.isConnected())
        return;
    if (active) {
        auto request = screenSaverCall(QStringLiteral("Inhibit"));
        request << QGuiApplication::desktopFileName() << reason_;
        ask(request);
    } else {
        release();
    }
}

void ScreenInhibitor::ask(const QDBusMessage& request) {
    asking_ = true;
    auto* waiting = new QDBusPendingCallWatcher(bus_.asyncCall(request), this);
    connect(waiting, &QDBusPendingCallWatcher::finished, this, [this, request, waiting] {
        waiting->deleteLater();
        asking_ = false;
        const bool failed = waiting->isError();
        if (!failed)
            takeAnswer(waiting->reply());
        else if (wanted_ && request.service() != kPortal)
            ask(portalRequest(reason_));
    });
}

void ScreenInhibitor::takeAnswer(const QDBusMessage& answer) {
    if (answer.signature() == QStringLiteral("u")) {
        release_ = screenSaverCall(QStringLiteral("UnInhibit"));
        release_.setArguments(answer.arguments());
    } else if (answer.signature() == QStringLiteral("o")) {
        release_ = QDBusMessage::createMethodCall(
            kPortal, answer.arguments().constFirst().value<QDBusObjectPath>().path(),
            QStringLiteral("org.freedesktop.portal.Request"), QStringLiteral("Close"));
    }
    if (!wanted_) // any more
        release();
}

void ScreenInhibitor::release() {
    if (release_.type() != QDBusMessage::InvalidMessage)
        bus_.send(std::exchange(release_, {}));
}

} // namespace ambrel
