// Public. Keeps the records of a registry (SymListMgr, CmdListMgr) readable for a scope: what is
// removed or replaced meanwhile is destroyed only after the last hold has ended. A command handler
// runs under a hold of both registries; any other code that keeps a record or a text while someone
// else may remove it takes a hold before it asks for it. Holds may nest and overlap; keep them
// short, since memory of removed records gathers meanwhile.
#ifndef UTIL_CONSOLE_REGISTRYHOLD_H
#define UTIL_CONSOLE_REGISTRYHOLD_H

template <typename Registry>
class RegistryHold
{
public:
    explicit RegistryHold(Registry* registry) : mRegistry(registry) { mRegistry->Hold(); }
    RegistryHold(const RegistryHold&) = delete;
    RegistryHold& operator=(const RegistryHold&) = delete;
    ~RegistryHold() { mRegistry->Release(); }

private:
    Registry* const mRegistry;
};

#endif  // UTIL_CONSOLE_REGISTRYHOLD_H
