// Renders the window with an example library to PNG files, in every theme: to look at.
//
//   QT_QPA_PLATFORM=offscreen ui_showcase FOLDER        (QT_SCALE_FACTOR=2 for twice the pixels)
#include <QApplication>
#include <QMenu>
#include <QTemporaryDir>
#include <QTest>

#include <cstdio>

#include "ui/ExampleLibrary.h"
#include "ui/mainwindow/MainWindow.h"
#include "ui/theme/ThemeInstaller.h"

namespace {

using namespace halvenor;

void save(QWidget& widget, const QString& file) {
    QTest::qWait(300);
    if (!widget.grab().save(file)) {
        std::fprintf(stderr, "can't write %s\n", qUtf8Printable(file));
    }
}

QWidget* findNamed(QWidget& window, const QString& name) {
    for (QWidget* child : window.findChildren<QWidget*>()) {
        if (child->accessibleName() == name) {
            return child;
        }
    }
    return nullptr;
}

}  // namespace

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    const QString folder = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral(".");
    const QTemporaryDir home;
    const FileUrl settings(home.path().toUtf8() + "/settings.json");
    const auto state = test::makeState(settings);
    installTheme(*state, application);
    MainWindow window(*state);
    window.show();
    save(window, folder + QStringLiteral("/empty.png"));
    test::fillWithExample(*state);
    for (const AppTheme theme : allThemes) {
        state->selectedTheme = theme;
        const QString name = rawValue(theme).toLower().replace(QLatin1Char(' '), QLatin1Char('-'));
        save(window, QStringLiteral("%1/window-%2.png").arg(folder, name));
        window.toggleHistory();
        save(window, QStringLiteral("%1/history-%2.png").arg(folder, name));
        window.toggleHistory();
        state->playbackErrorMessage =
            QStringLiteral("The file “Harbour Bells.flac” can't be read: it ends too soon.");
        save(window, QStringLiteral("%1/error-%2.png").arg(folder, name));
        state->playbackErrorMessage = std::nullopt;
        QTest::qWait(200);
        if (QWidget* button = findNamed(window, QStringLiteral("Album Menu"))) {
            QTest::mouseClick(button, Qt::LeftButton);
            if (QWidget* menu = QApplication::activePopupWidget()) {
                QTest::keyClick(menu, Qt::Key_Down);
                save(*menu, QStringLiteral("%1/menu-%2.png").arg(folder, name));
                menu->close();
            }
        }
    }
    state->selectedTheme = AppTheme::halvenorDark;
    if (QWidget* search = findNamed(window, QStringLiteral("Search"))) {
        QTest::mouseClick(search, Qt::LeftButton);
        QTest::keyClicks(QApplication::focusWidget(), QStringLiteral("har"));
    }
    state->playbackQueue = TrackList();
    state->selectedFolder = state->rootFolders->front();
    window.resize(920, 620);
    save(window, folder + QStringLiteral("/search-least-size.png"));
    return 0;
}
