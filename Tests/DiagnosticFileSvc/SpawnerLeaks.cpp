// The spawner initialises its file actions for every run and never destroys them. That is deliberate, so what they hold
// is no finding of LeakSanitizer. The unwinder that follows frame pointers does not get through the C library to its
// caller, hence the slow one.

// NOLINTNEXTLINE(bugprone-reserved-identifier): the sanitizer's name
extern "C" const char* __asan_default_options()
{
    return "fast_unwind_on_malloc=0";
}

// NOLINTNEXTLINE(bugprone-reserved-identifier): the sanitizer's name
extern "C" const char* __lsan_default_suppressions()
{
    return "leak:posixSpawnUtils::CollectEncryptLogs\n";
}
