#include <QCoreApplication>
#include <QStandardPaths>

#include <gtest/gtest.h>

// Qt is not built for ThreadSanitizer: the hand-offs inside its own image workers (scaling and
// conversion spread over a thread pool) are invisible to it and reported as races.
extern "C" const char *__tsan_default_suppressions() {
    return "race:libQt6Gui.so\n";
}

int main(int argc, char **argv) {
    // Tests never touch a real user's settings.
    QStandardPaths::setTestModeEnabled(true);
    QCoreApplication application(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
