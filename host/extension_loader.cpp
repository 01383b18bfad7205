#include "host/extension_loader.hpp"

#include <dlfcn.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <utility>
#include <vector>

namespace ov {
namespace {

std::string programFolder() {
    std::error_code error;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? std::string() : program.parent_path().string();
}

/// Names become file and symbol names: letters, digits and underscores only.
bool isModuleName(std::string_view name) {
    return !name.empty() && std::all_of(name.begin(), name.end(), [](unsigned char c) {
        return std::isalnum(c) != 0 || c == '_';
    });
}

std::string lastDlError() {
    const char* text = dlerror();
    return text == nullptr ? "unknown reason" : text;
}

template <class Function>
bool lookUp(void* handle, const std::string& symbol, const std::string& path, Function& function,
            std::string& reason) {
    void* address = dlsym(handle, symbol.c_str());
    if (address == nullptr) {
        reason = path + " is not an extension module: it does not export '" + symbol + "'";
        return false;
    }
    function = reinterpret_cast<Function>(address);
    return true;
}

std::string pathOf(void* address, const std::string& fallback) {
    Dl_info info{};
    return dladdr(address, &info) != 0 && info.dli_fname != nullptr ? info.dli_fname : fallback;
}

}  // namespace

void* ExtensionLoader::open(const std::string& name, std::string& path, std::string& reason) {
    const std::string file = name + ".so";
    std::vector<std::string> searched;
    for (const std::string& folder : {programFolder(), moduleFolder_}) {
        if (folder.empty() || std::find(searched.begin(), searched.end(), folder) != searched.end())
            continue;
        searched.push_back(folder);
        path = (std::filesystem::path(folder) / file).string();
        std::error_code error;
        if (!std::filesystem::exists(path, error)) continue;
        void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (handle == nullptr) reason = "cannot load " + lastDlError();
        return handle;
    }
    path = file;
    void* handle = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        reason = "module '" + name + "' not found in";
        for (const std::string& folder : searched) reason += " " + folder + ",";
        reason += " the system's folders (" + lastDlError() + ")";
    }
    return handle;
}

const LoadedModule* ExtensionLoader::find(std::string_view name, std::string& reason) {
    const std::lock_guard lock(mutex_);
    for (const LoadedModule& module : modules_)
        if (module.name == name) return &module;
    LoadedModule module;
    module.name = std::string(name);
    if (!isModuleName(name)) {
        reason = "'" + module.name + "' is not a module name";
        return nullptr;
    }
    void* handle = open(module.name, module.path, reason);
    if (handle == nullptr) return nullptr;
    if (!lookUp(handle, "ovextent", module.path, module.extent, reason) ||
        !lookUp(handle, module.name, module.path, module.entry, reason) ||
        !lookUp(handle, "ovvercn1", module.path, module.version, reason)) {
        dlclose(handle);
        return nullptr;
    }
    if (module.extent(services_) != 0) {
        reason = module.path + " refuses the host's services";
        dlclose(handle);
        return nullptr;
    }
    module.path = pathOf(reinterpret_cast<void*>(module.extent), module.path);
    if (moduleFolder_.empty())
        moduleFolder_ = std::filesystem::path(module.path).parent_path().string();
    modules_.push_back(std::move(module));
    return &modules_.back();
}

ExtensionFactory* makeFactory(const LoadedModule& module, std::string& reason) {
    ExtensionFactory* factory = module.entry(nullptr, nullptr);
    if (factory == nullptr) {
        reason = module.path + " gives no factory: out of memory";
        return nullptr;
    }
    if (std::memcmp(factory->tag, "nevo", sizeof factory->tag) != 0) {
        reason = module.path + " gives an object that is not a factory";
        return nullptr;
    }
    factory->releaseFactory = [](ExtensionFactory* released) -> int32_t {
        return released == nullptr ? 0 : released->terminate(released);
    };
    return factory;
}

}  // namespace ov
