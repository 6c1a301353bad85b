#pragma once

#include <functional>
#include <memory>

#include <QList>
#include <QString>
#include <QUrl>

namespace ambrel {

/// The running program that later starts hand their file to: of those in a user's session, the one
/// that has been there longest. They meet on the session bus, which admits only the user's own
/// programs, by the desktop's interface for that (org.freedesktop.Application).
///
/// Without a session bus each program is by itself. Main thread only, within the life of the
/// QCoreApplication.
class RunningInstance {
  public:
    struct Request {
        QList<QUrl> urls; ///< to open; without any the program only comes to the front
        QString token;    ///< see bringToFront()
    };
    using Handler = std::function<void(const Request& request)>;

    /// Joins those known by `name`, the application's reverse-DNS name.
    explicit RunningInstance(const QString& name);

    /// Leaves them.
    ~RunningInstance();
    RunningInstance(const RunningInstance&) = delete;
    RunningInstance& operator=(const RunningInstance&) = delete;

    /// Whether another has been there longer.
    bool isLater() const { return isLater_; }

    /// Passes a request on to the one that has been there longest. False if that is this one, is on
    /// another display or about to end, or has not answered within 2 s.
    bool handOver(const Request& request);

    /// Calls `handler` from the main loop for what is handed over to this one, since it joined.
    void serve(Handler handler);

  private:
    class Object;

    QString name_;
    bool isLater_ = false;
    std::unique_ptr<Object> object_;
};

} // namespace ambrel
