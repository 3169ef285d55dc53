// SPDX-License-Identifier: GPL-3.0-or-later
// The window of another program: OtherWindow X Y WIDTH HEIGHT. Says "ready" once it is on screen.
#include <QGuiApplication>
#include <QRasterWindow>
#include <QTimer>

#include <cstdio>
#include <cstdlib>

int main(int argumentCount, char **arguments)
{
    QGuiApplication application(argumentCount, arguments);
    if (argumentCount != 5)
        return EXIT_FAILURE;
    const auto number = [&](int i) { return std::atoi(arguments[i]); };
    QRasterWindow window;
    window.setTitle(QStringLiteral("OtherWindow"));
    window.setGeometry(number(1), number(2), number(3), number(4));
    QObject::connect(&window, &QWindow::activeChanged, &window, [&] {
        if (window.isActive()) {
            std::puts("ready");
            std::fflush(stdout);
        }
    });
    window.show();
    window.requestActivate();
    return QGuiApplication::exec();
}
