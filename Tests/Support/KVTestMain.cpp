#include <QCoreApplication>
#include <QStandardPaths>

#include <gtest/gtest.h>

// Qt is not built for ThreadSanitizer: the hand-offs inside its image workers and its thread
// pool (image conversion and scaling are spread over pooled threads) are invisible to it and
// reported as races. Only reports that pass through those parts of Qt are set aside.
extern "C" const char *__tsan_default_suppressions() {
    return "race:libQt6Gui.so\n"
           "race:QThreadPool\n"
           "race:QRunnable\n"
           "race:QWaitCondition\n";
}

int main(int argc, char **argv) {
    // Tests never touch a real user's settings.
    QStandardPaths::setTestModeEnabled(true);
    QCoreApplication application(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
