#include "platform/desktop/NotificationCenter.h"

#include <QTest>

using namespace ambrel;

namespace {
const QString kName = QStringLiteral("test.happened");
}

class NotificationCenterTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void everyObserverOfTheNameHearsTheObjectInOrder() {
        NotificationCenter centre;
        QStringList heard;
        const auto hear = [&](const QString& who) {
            return [&heard, who](const QVariant& object) {
                heard << who + (object.isValid() ? object.toString() : QStringLiteral("-"));
            };
        };
        const auto first = centre.observe(kName, hear(QStringLiteral("a")));
        const auto second = centre.observe(kName, hear(QStringLiteral("b")));
        const auto other = centre.observe(QStringLiteral("test.other"), hear(QStringLiteral("c")));
        centre.post(kName, 5);
        centre.post(kName);
        centre.post(QStringLiteral("test.nobody"));
        QCOMPARE(heard.join(u','), QStringLiteral("a5,b5,a-,b-"));
    }

    void observationsEndAndBeginDuringDelivery() {
        NotificationCenter centre;
        QStringList heard;
        std::unique_ptr<NotificationCenter::Observation> first;
        std::unique_ptr<NotificationCenter::Observation> second;
        std::unique_ptr<NotificationCenter::Observation> late;
        first = centre.observe(kName, [&](const QVariant&) {
            heard << QStringLiteral("first");
            first.reset();
            second.reset();
            late = centre.observe(kName, [&](const QVariant&) { heard << QStringLiteral("late"); });
        });
        second = centre.observe(kName, [&](const QVariant&) { heard << QStringLiteral("second"); });
        centre.post(kName);
        QCOMPARE(heard.join(u','), QStringLiteral("first"));
        centre.post(kName);
        QCOMPARE(heard.join(u','), QStringLiteral("first,late"));

        auto shortLived = std::make_unique<NotificationCenter>();
        late = shortLived->observe(kName, [](const QVariant&) {});
        shortLived.reset(); // an observation may outlive it
    }
};

QTEST_GUILESS_MAIN(NotificationCenterTest)
#include "NotificationCenterTest.moc"
