#include "platform/desktop/RunningInstance.h"

#include <algorithm>
#include <utility>

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusVirtualObject>

namespace ambrel {
namespace {

const QString kInterface = QStringLiteral("org.freedesktop.Application");
const QStringList kTokenKeys = {QStringLiteral("activation-token"),
                                QStringLiteral("desktop-startup-id")}; // Wayland, X11
const QString kDisplayKey = QStringLiteral("ambrel-display");          // among Ambrels only
constexpr int kLongestAnswerMs = 2000;

// Of what any program on the bus may send:
constexpr qsizetype kMostURLs = 100;
constexpr qsizetype kLongestURL = 16384; // a path of 4096 bytes, each escaped, and more
constexpr qsizetype kLongestToken = 1024;

QString pathOf(QString name) {
    return QLatin1Char('/') + name.replace(QLatin1Char('.'), QLatin1Char('/'));
}

/// Where its windows are.
QString display() {
    return qEnvironmentVariable("WAYLAND_DISPLAY") + u' ' + qEnvironmentVariable("DISPLAY");
}

QVariantMap platformData(const QString& token) {
    QVariantMap data{{kDisplayKey, display()}};
    if (!token.isEmpty()) {
        for (const QString& key : kTokenKeys)
            data.insert(key, token);
    }
    return data;
}

QString tokenIn(const QVariantMap& data) {
    for (const QString& key : kTokenKeys) {
        const QVariant token = data.value(key);
        if (token.metaType() == QMetaType::fromType<QString>() &&
            token.toString().size() <= kLongestToken && !token.toString().isEmpty())
            return token.toString();
    }
    return {};
}

QList<QUrl> urlsIn(const QVariant& texts) {
    QList<QUrl> urls;
    const QStringList list = texts.toStringList();
    for (const QString& text : list.first(std::min(list.size(), kMostURLs))) {
        if (text.size() <= kLongestURL)
            urls << QUrl(text);
    }
    return urls;
}

} // namespace

/// What the others find on the bus.
class RunningInstance::Object : public QDBusVirtualObject {
  public:
    Handler handler;

    QString introspect(const QString&) const override {
        return QStringLiteral("<interface name=\"org.freedesktop.Application\">"
                              "<method name=\"Activate\">"
                              "<arg type=\"a{sv}\" name=\"platform_data\" direction=\"in\"/>"
                              "</method><method name=\"Open\">"
                              "<arg type=\"as\" name=\"uris\" direction=\"in\"/>"
                              "<arg type=\"a{sv}\" name=\"platform_data\" direction=\"in\"/>"
                              "</method></interface>");
    }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& bus) override {
        const bool opens = message.member() == u"Open" && message.signature() == u"asa{sv}";
        const bool activates = message.member() == u"Activate" && message.signature() == u"a{sv}";
        if (message.interface() != kInterface || !handler || (!opens && !activates))
            return false;
        const QVariantList arguments = message.arguments();
        const auto data = qdbus_cast<QVariantMap>(arguments.last());
        if (data.value(kDisplayKey, display()) != display())
            return bus.send(message.createErrorReply(
                QDBusError::AccessDenied, QStringLiteral("The window is on another display.")));
        bus.send(message.createReply());
        handler({opens ? urlsIn(arguments.first()) : QList<QUrl>(), tokenIn(data)});
        return true;
    }
};

RunningInstance::RunningInstance(const QString& name)
    : name_(name), object_(std::make_unique<Object>()) {
    QDBusConnection bus = QDBusConnection::sessionBus();
    // Before the name, so that whoever sees that finds it.
    if (!bus.registerVirtualObject(pathOf(name), object_.get()))
        return;
    // The queue keeps the order: when the longest there ends, it is the next one's turn.
    const auto joined =
        bus.interface()->registerService(name, QDBusConnectionInterface::QueueService);
    isLater_ = joined.isValid() && joined.value() == QDBusConnectionInterface::ServiceQueued;
}

RunningInstance::~RunningInstance() {
    QDBusConnection bus = QDBusConnection::sessionBus();
    bus.unregisterObject(pathOf(name_));
    bus.unregisterService(name_);
}

bool RunningInstance::handOver(const Request& request) {
    if (!isLater_)
        return false;
    const auto isTaken = [this](const QString& method, const QVariantList& arguments) {
        auto message = QDBusMessage::createMethodCall(name_, pathOf(name_), kInterface, method);
        message.setArguments(arguments);
        const auto answer =
            QDBusConnection::sessionBus().call(message, QDBus::Block, kLongestAnswerMs);
        return answer.type() == QDBusMessage::ReplyMessage;
    };
    // Coming to the front does no harm should it happen late. Opening would: the file would be open
    // in both, so it is asked only of one that has just answered.
    if (!isTaken(QStringLiteral("Activate"), {platformData(request.token)}))
        return false;
    return request.urls.isEmpty() ||
           isTaken(QStringLiteral("Open"),
                   {QUrl::toStringList(request.urls, QUrl::FullyEncoded), platformData({})});
}

void RunningInstance::serve(Handler handler) {
    object_->handler = std::move(handler);
}

} // namespace ambrel
