// Finding, loading and checking module files. A module stays loaded for the life of the process:
// loading it again costs a look-up, and no thread can ever return into unmapped code.
#pragma once

#include <list>
#include <mutex>
#include <string>
#include <string_view>

#include "host/host.hpp"

namespace ov {

/// The three exports of a loaded module.
struct LoadedModule {
    std::string name;
    std::string path;
    ModuleExtent extent = nullptr;
    ModuleEntry entry = nullptr;
    ModuleVersion version = nullptr;
};

class ExtensionLoader {
public:
    /// `services` is handed to every module that is loaded.
    ExtensionLoader(HostServices* services, std::string moduleFolder)
        : services_(services), moduleFolder_(std::move(moduleFolder)) {}

    /// Searches the program's folder, the folder of the modules and the system's; the first file
    /// found counts. Null when there is none or it is no module; `reason` tells.
    const LoadedModule* find(std::string_view name, std::string& reason);

private:
    void* open(const std::string& name, std::string& path, std::string& reason);

    HostServices* services_;
    std::mutex mutex_;
    std::string moduleFolder_;
    std::list<LoadedModule> modules_;
};

/// A factory made by the module's entry, releaseFactory filled; null with a reason.
ExtensionFactory* makeFactory(const LoadedModule& module, std::string& reason);

}  // namespace ov
