// The studio: the reference host of the library.
//
//   studio [--settings FILE] [--open FILE] [directory]
//   studio --screenshot PNG [--settings FILE] [--open FILE] [directory]
//
// directory: a game to open (the sample game when none is given to --screenshot).
// --open: a file of the game, relative to the directory, shown in its editor.
// --screenshot: loads, lays out and writes the window to PNG without showing it.

#include "mainwindow.h"

#include <zornx/core/extension.h>
#include <zornx/project/parentproject.h>
#include <zornx/project/project.h>
#include <zornx/project/projectfile.h>

#include <QtCore/QCommandLineParser>
#include <QtCore/QDir>
#include <QtCore/QTimer>
#include <QtWidgets/QApplication>
#include <QtWidgets/QStatusBar>

#include <cstdio>

int main(int argc, char **argv)
{
    // A screenshot needs no display.
    for (int i = 1; i < argc; ++i)
        if (qstrcmp(argv[i], "--screenshot") == 0 && qEnvironmentVariableIsEmpty("DISPLAY")
            && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
            qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("zornx studio"));

    QCommandLineParser parser;
    parser.addHelpOption();
    const QCommandLineOption screenshot(QStringLiteral("screenshot"),
                                        QStringLiteral("Write the window to <png> and quit."),
                                        QStringLiteral("png"));
    const QCommandLineOption settings(QStringLiteral("settings"),
                                      QStringLiteral("Keep the options in <file>."),
                                      QStringLiteral("file"));
    const QCommandLineOption open(QStringLiteral("open"),
                                  QStringLiteral("Show <file> of the game in its editor."),
                                  QStringLiteral("file"));
    parser.addOptions({screenshot, settings, open});
    parser.addPositionalArgument(QStringLiteral("directory"), QStringLiteral("A game to open."));
    parser.process(app);

    Studio::MainWindow window(parser.value(settings));
    Zorn::ExtensionManager extensions(QStringLiteral(ZORNX_PLUGIN_DIR));

    QString directory = parser.positionalArguments().value(0);
    if (directory.isEmpty() && parser.isSet(screenshot))
        directory = QStringLiteral(ZORNX_SAMPLE_DIR);
    if (!directory.isEmpty() && !window.openDirectory(directory) && parser.isSet(screenshot))
        return 1;
    if (parser.isSet(open) && window.parentProject()) {
        const QString name = QDir(window.parentProject()->basePath()).absoluteFilePath(parser.value(open));
        bool shown = false;
        for (int i = 0; i < window.projectCount() && !shown; ++i)
            for (Zorn::ProjectFile *file : window.projectAt(i)->files())
                if (file->fileName() == name && (shown = window.openFile(file)))
                    break;
        if (!shown)
            std::fprintf(stderr, "Cannot show %s\n", qPrintable(name));
    }

    if (!parser.isSet(screenshot)) {
        window.show();
        return app.exec();
    }
    window.setAttribute(Qt::WA_DontShowOnScreen);
    window.show();
    window.statusBar()->clearMessage();
    QApplication::processEvents();
    if (!window.grab().save(parser.value(screenshot))) {
        std::fprintf(stderr, "Cannot write %s\n", qPrintable(parser.value(screenshot)));
        return 1;
    }
    window.close();
    return 0;
}
