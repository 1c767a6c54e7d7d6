// The baseline of the start benchmark: the least that a program with a Qt window does.
#include <QApplication>
#include <QMainWindow>

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    QMainWindow window;
    window.resize(1100, 700);
    window.show();
    return QApplication::exec();
}
