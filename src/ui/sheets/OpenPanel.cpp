#include "ui/sheets/OpenPanel.h"

namespace ambrel {
namespace {

/// Extensions of audio files, in both cases, because some desktops distinguish them.
QString audioPatterns() {
    static const QStringList endings = {
        QStringLiteral("mp3"),  QStringLiteral("wav"),  QStringLiteral("wave"),
        QStringLiteral("aif"),  QStringLiteral("aiff"), QStringLiteral("aifc"),
        QStringLiteral("flac"), QStringLiteral("m4a"),  QStringLiteral("m4b"),
        QStringLiteral("aac"),  QStringLiteral("ogg"),  QStringLiteral("oga"),
        QStringLiteral("opus"), QStringLiteral("wma"),  QStringLiteral("caf"),
        QStringLiteral("au"),   QStringLiteral("snd"),  QStringLiteral("mka"),
        QStringLiteral("weba"), QStringLiteral("ape"),  QStringLiteral("wv"),
        QStringLiteral("tta"),  QStringLiteral("mp2"),  QStringLiteral("ac3"),
        QStringLiteral("amr"),  QStringLiteral("w64"),  QStringLiteral("mpc")};
    QStringList patterns;
    for (const QString& ending : endings)
        patterns << QStringLiteral("*.") + ending << QStringLiteral("*.") + ending.toUpper();
    return patterns.join(QLatin1Char(' '));
}

} // namespace

OpenPanel::OpenPanel(const QUrl& folder, QWidget* parent)
    : FilePanel(QStringLiteral("Open File"), folder, parent) {
    setFileMode(QFileDialog::ExistingFile);
    setOption(QFileDialog::HideNameFilterDetails);
    setNameFilters(
        {QStringLiteral("Audio files (%1)").arg(audioPatterns()), QStringLiteral("All files (*)")});
}

} // namespace ambrel
