// SPDX-License-Identifier: BSD-3-Clause
// icawave_manager PACKAGE [PICTURE.png]: shows the manager of a package file, its current data set selected,
// or writes a picture of it.
#include <icawave/platform/Memory.h>
#include <icawave/qt/QtFrontEnd.h>

#include "apps/manager/ManagerWindow.h"

#include <QApplication>

#include <cstdio>

namespace {

int show(const char* path) {
    icawave::qt::QtFrontEnd frontEnd;
    icawave::qt::ManagerWindow window(path);
    window.show();
    return QApplication::exec();
}

// Nobody is there to answer a message.
class UnattendedFrontEnd : public icawave::qt::QtFrontEnd {
    void messageBox(const CString& text) override { UiFrontEnd::messageBox(text); }
};

int draw(const char* path, const char* picture) {
    UnattendedFrontEnd frontEnd;
    const icawave::qt::ManagerWindow window(path);
    QApplication::processEvents();
    if (window.manager().grab().save(QString::fromLocal8Bit(picture))) return 0;
    std::fprintf(stderr, "icawave_manager: %s cannot be written\n", picture);
    return 1;
}

} // namespace

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    icawave::keepMemory(256 << 20); // for the next .icd file
    if (argc < 2 || argc > 3) {
        std::fprintf(stderr, "usage: icawave_manager PACKAGE [PICTURE.png]\n");
        return 2;
    }
    try {
        return argc == 3 ? draw(argv[1], argv[2]) : show(argv[1]);
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "icawave_manager: %s\n", failure.what());
        return 1;
    }
}
