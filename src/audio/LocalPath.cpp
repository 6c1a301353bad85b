#include "audio/LocalPath.h"

#include <QFile>
#include <QUrl>

#include "platform/sound/AudioFile.h"

namespace ambrel {

std::filesystem::path localPath(const QUrl& url) {
    const QString name = url.toLocalFile();
    // A name with a null would be cut there and open another file.
    if (name.isEmpty() || name.contains(QChar(0))) {
        const QString sentence =
            QStringLiteral("“%1” could not be opened: it is not a file on this computer.");
        throw AudioFileError(AudioFileError::Reason::notAFile,
                             sentence.arg(url.toDisplayString()).toStdString());
    }
    return QFile::encodeName(name).toStdString();
}

} // namespace ambrel
