// A small window in the screen's top left corner, above all others, from which its arguments can be
// dragged once: files, or else a text.

#include <QApplication>
#include <QDrag>
#include <QFileInfo>
#include <QMimeData>
#include <QMouseEvent>
#include <QWidget>

class DragSource : public QWidget {
    void mousePressEvent(QMouseEvent*) override {
        auto* mime = new QMimeData;
        const QStringList arguments = QCoreApplication::arguments().mid(1);
        QList<QUrl> files;
        for (const QString& argument : arguments)
            if (QFileInfo::exists(argument))
                files << QUrl::fromLocalFile(argument);
        if (files.isEmpty())
            mime->setText(arguments.join(u' '));
        else
            mime->setUrls(files);
        auto* drag = new QDrag(this);
        drag->setMimeData(mime);
        connect(drag, &QObject::destroyed, qApp, &QCoreApplication::quit); // all has been fetched
        drag->exec(Qt::CopyAction);
    }
};

int main(int argc, char* argv[]) {
    const QApplication application(argc, argv);
    DragSource source;
    source.setWindowFlags(Qt::X11BypassWindowManagerHint | Qt::WindowStaysOnTopHint);
    source.setGeometry(0, 0, 20, 20);
    source.show();
    return QApplication::exec();
}
