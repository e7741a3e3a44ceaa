/// The leak checker resolves stacks only in libraries that are still loaded, so drivers must not be unloaded before it runs.
extern "C" __attribute__((visibility("default"))) int dlclose(void *) noexcept
{
    return 0;
}
