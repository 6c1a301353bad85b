#pragma once

#include <functional>
#include <memory>

#include <QString>
#include <QVariant>

namespace ambrel {

/// Publish and subscribe by name, within the process. Main thread only; post() returns after all
/// observers of the name have run.
class NotificationCenter {
  public:
    /// Receives the object of the notification, or an invalid QVariant.
    using Handler = std::function<void(const QVariant& object)>;

    /// Observes for its lifetime. May be destroyed before or after the centre, and during a
    /// notification.
    class Observation {
      public:
        virtual ~Observation() = default;
    };

    NotificationCenter();
    ~NotificationCenter();
    NotificationCenter(const NotificationCenter&) = delete;
    NotificationCenter& operator=(const NotificationCenter&) = delete;

    static NotificationCenter& shared();

    void post(const QString& name, const QVariant& object = {});
    [[nodiscard]] std::unique_ptr<Observation> observe(const QString& name, Handler handler);

  private:
    class Impl;
    std::shared_ptr<Impl> impl_;
};

} // namespace ambrel
