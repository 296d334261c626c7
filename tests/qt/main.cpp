// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>

#include <QApplication>
#include <QTemporaryDir>
#include <QTest>
#include <QWindow>

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    const QTemporaryDir settings; // file dialogs remember where they were
    qputenv("XDG_CONFIG_HOME", settings.path().toLocal8Bit());
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs); // the platform's own take no events of ours
    const QApplication application(argc, argv);
    // Without a pointer ever seen, Qt 6.8 takes a first click in a menu for the one that opened it.
    QWindow somewhere;
    somewhere.resize(9, 9);
    QTest::mouseMove(&somewhere);
    return RUN_ALL_TESTS();
}
