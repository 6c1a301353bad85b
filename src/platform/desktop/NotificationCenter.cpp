#include "platform/desktop/NotificationCenter.h"

#include <algorithm>
#include <utility>
#include <vector>

#include <QHash>

namespace ambrel {

class NotificationCenter::Impl {
  public:
    struct Observer {
        Handler handler;
        bool isObserving = true;
    };
    using Observers = std::vector<std::shared_ptr<Observer>>;

    QHash<QString, Observers> observersByName;
};

namespace {

class RunningObservation : public NotificationCenter::Observation {
  public:
    explicit RunningObservation(std::function<void()> end) : end_(std::move(end)) {}
    ~RunningObservation() override { end_(); }

  private:
    std::function<void()> end_;
};

} // namespace

NotificationCenter::NotificationCenter() : impl_(std::make_shared<Impl>()) {}

NotificationCenter::~NotificationCenter() = default;

NotificationCenter& NotificationCenter::shared() {
    static NotificationCenter centre;
    return centre;
}

void NotificationCenter::post(const QString& name, const QVariant& object) {
    // A copy, because handlers may create and destroy observations, including their own.
    const Impl::Observers observers = impl_->observersByName.value(name);
    for (const auto& observer : observers) {
        if (observer->isObserving)
            observer->handler(object);
    }
}

std::unique_ptr<NotificationCenter::Observation> NotificationCenter::observe(const QString& name,
                                                                             Handler handler) {
    auto observer = std::make_shared<Impl::Observer>(Impl::Observer{std::move(handler)});
    impl_->observersByName[name].push_back(observer);
    return std::make_unique<RunningObservation>([centre = std::weak_ptr(impl_), name, observer] {
        observer->isObserving = false;
        if (const auto impl = centre.lock())
            std::erase(impl->observersByName[name], observer);
    });
}

} // namespace ambrel
