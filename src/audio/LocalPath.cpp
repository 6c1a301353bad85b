#include "audio/LocalPath.h"

#include <QDir>
#include <QFile>

#include "platform/sound/AudioFile.h"

namespace ambrel {

QUrl localFile(const QUrl& url) {
    const bool isHere = url.host().isEmpty() || url.host() == QLatin1String("localhost");
    if (!url.isLocalFile() || !isHere)
        return url;
    return QUrl::fromLocalFile(QDir::cleanPath(url.path(QUrl::FullyDecoded)));
}

std::filesystem::path localPath(const QUrl& url) {
    const QUrl file = localFile(url);
    const QString name = file.host().isEmpty() ? file.toLocalFile() : QString();
    // A name with a null byte would be truncated and open another file.
    if (name.isEmpty() || name.contains(QChar(0))) {
        const QString sentence =
            QStringLiteral("“%1” could not be opened: it is not a file on this computer.");
        throw AudioFileError(AudioFileError::Reason::notAFile,
                             sentence.arg(url.toDisplayString()).toStdString());
    }
    return QFile::encodeName(name).toStdString();
}

} // namespace ambrel
