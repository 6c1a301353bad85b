#include "store/WindowStore.h"

#include <QRegularExpression>

#include "platform/store/Preferences.h"

namespace ambrel {
namespace {

const QString kKey = QStringLiteral("AMB.window");
const QString kMaximised = QStringLiteral(" maximised");

} // namespace

WindowStore::WindowStore(Preferences& defaults) : defaults_(defaults) {}

WindowStore& WindowStore::shared() {
    static WindowStore store(Preferences::shared());
    return store;
}

std::optional<WindowStore::Place> WindowStore::place() const {
    static const QRegularExpression form(QRegularExpression::anchoredPattern(
        QStringLiteral("(\\d{1,5})x(\\d{1,5})([+-]\\d{1,5})([+-]\\d{1,5})(%1)?").arg(kMaximised)));
    const auto found = form.match(defaults_.string(kKey).value_or(QString()));
    if (!found.hasMatch())
        return {};
    const auto number = [&](int group) { return found.captured(group).toInt(); };
    return Place{{number(3), number(4), number(1), number(2)}, !found.captured(5).isEmpty()};
}

void WindowStore::setPlace(const Place& place) {
    const QRect& area = place.area;
    defaults_.set(
        kKey, QString::asprintf("%dx%d%+d%+d", area.width(), area.height(), area.x(), area.y()) +
                  (place.isMaximised ? kMaximised : QString()));
}

} // namespace ambrel
