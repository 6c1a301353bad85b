// The least that a program with a window costs here: what BenchStart compares Ambrel with.

#include <QApplication>
#include <QWidget>

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    QWidget window;
    window.resize(800, 600);
    window.show();
    return QApplication::exec();
}
