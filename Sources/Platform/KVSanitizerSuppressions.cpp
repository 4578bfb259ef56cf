#if defined(__SANITIZE_THREAD__)
// Qt is not built for ThreadSanitizer and locks its event queue and thread pool with futexes the
// sanitizer cannot see, so every hand-over through them looks like a race: Qt's own memory work,
// the posting of work to the main thread, and the pooled image conversions are set aside. The build
// makes every program link this file, so tests and tools alike get the same list.
extern "C" const char *__tsan_default_suppressions() {
    return "called_from_lib:libQt6Core.so\n"
           "called_from_lib:libQt6Gui.so\n"
           "race:QMetaCallEvent\n"
           "race:KVDispatchMain\n"
           "race:QThreadPool\n"
           "race:QRunnable\n"
           "race:QWaitCondition\n";
}
#endif
