// icawave_manager PACKAGE [PICTURE.png]: shows the manager of a package file, its first data set selected, or
// writes a picture of it.
#include <icawave/icawave.h>
#include <icawave/qt/QtFrontEnd.h>

#include <QApplication>
#include <QEvent>
#include <QWidget>

#include <cstdio>

namespace {

// The dialog is only hidden when its user is done, which ends no application.
class QuitWhenHidden : public QObject {
protected:
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() == QEvent::Hide && !event->spontaneous()) QApplication::quit();
        return false;
    }
};

bool load(CFaceIcazq& package, const char* path) {
    CFile file;
    if (!file.Open(path, CFile::modeRead)) return false;
    CArchive archive(&file, CArchive::load);
    return package.serialize(archive) == 1;
}

int run(const char* path, const char* picture) {
    icawave::qt::QtFrontEnd frontEnd;
    CFaceIcazq package;
    if (!load(package, path)) {
        std::fprintf(stderr, "icawave_manager: %s cannot be loaded\n", path);
        return 1;
    }
    package.showDlgIcaManager(nullptr);
    package.m_dlgIcaManager->m_listIcaWave.userClick(0, false, false);
    QWidget* widget = icawave::qt::widgetOf(*package.m_dlgIcaManager);
    if (!picture) {
        QuitWhenHidden quit;
        widget->installEventFilter(&quit);
        return QApplication::exec();
    }
    QApplication::processEvents();
    if (widget->grab().save(QString::fromLocal8Bit(picture))) return 0;
    std::fprintf(stderr, "icawave_manager: %s cannot be written\n", picture);
    return 1;
}

} // namespace

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    if (argc < 2 || argc > 3) {
        std::fprintf(stderr, "usage: icawave_manager PACKAGE [PICTURE.png]\n");
        return 2;
    }
    try {
        return run(argv[1], argc == 3 ? argv[2] : nullptr);
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "icawave_manager: %s: %s\n", argv[1], failure.what());
        return 1;
    }
}
