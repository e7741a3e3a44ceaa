/// The leak checker resolves stacks only in libraries that are still loaded, so drivers must not be unloaded before it runs.
extern "C" __attribute__((visibility("default"))) int dlclose(void *) noexcept
{
    return 0;
}

/// Suppressions of the leak checker: the wrappers of the managers' helper textures, which are left to the context, by the
/// functions that create them; and what QtDBus keeps until the process ends.
extern "C" __attribute__((visibility("default"))) const char *__lsan_default_suppressions()
{
    return "leak:SlotUniforms::uploadMap\n"
           "leak:SamplerSlots::makeEmptyTexture\n"
           "leak:SamplerSlots::makeMap\n"
           "leak:libdbus-1.so\n"
           "leak:libqoffscreen.so\n"; // Qt's platform without a display: its screen
}

/// No list of the suppressions that were used: tests compare what programs print.
extern "C" __attribute__((visibility("default"))) const char *__lsan_default_options()
{
    return "print_suppressions=0";
}
