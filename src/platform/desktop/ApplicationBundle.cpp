#include "platform/desktop/ApplicationBundle.h"

#include <QCoreApplication>

namespace ambrel {

QString ApplicationBundle::executableFolder() {
    return QCoreApplication::applicationDirPath();
}

QString ApplicationBundle::shortVersion() {
    return QStringLiteral(AMBREL_VERSION);
}

} // namespace ambrel
