#include "platform/desktop/ApplicationBundle.h"

#include <QCoreApplication>

namespace ambrel {

QString ApplicationBundle::executableFolder() {
    return QCoreApplication::applicationDirPath();
}

QString ApplicationBundle::identifier() {
    return QStringLiteral(AMBREL_ID);
}

QString ApplicationBundle::shortVersion() {
    return QStringLiteral(AMBREL_VERSION);
}

QUrl ApplicationBundle::donationPage() {
    return QUrl(QStringLiteral(AMBREL_DONATION_URL));
}

} // namespace ambrel
