#pragma once

#include <functional>
#include <memory>

#include <QString>
#include <QVariant>

namespace ambrel {

/// Publish and subscribe by name, in process. Main thread only; post() returns when every observer
/// of that name has run.
class NotificationCenter {
  public:
    /// Called with the object of the notification; an invalid QVariant when there is none.
    using Handler = std::function<void(const QVariant& object)>;

    /// Observes for as long as it lives. May end before or after the centre, also while a
    /// notification is being delivered.
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
