// The spawner initialises its file actions for every run and never destroys them. That is deliberate, so what they hold
// is no finding of LeakSanitizer.
extern "C" const char* __lsan_default_suppressions()
{
    return "leak:posix_spawn_file_actions_addopen\nleak:posix_spawn_file_actions_adddup2\n";
}
