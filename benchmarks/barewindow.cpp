// What any Qt program with a window and a text in it needs to start.

#include <QApplication>
#include <QMainWindow>
#include <QTextEdit>

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    QMainWindow window;
    window.setCentralWidget(new QTextEdit(&window));
    window.resize(900, 620);
    window.show();
    return QApplication::exec();
}
