#include <gtest/gtest.h>

#include <QApplication>
#include <QTemporaryDir>

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    const QTemporaryDir settings; // file dialogs remember where they were
    qputenv("XDG_CONFIG_HOME", settings.path().toLocal8Bit());
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs); // the platform's own take no events of ours
    const QApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
