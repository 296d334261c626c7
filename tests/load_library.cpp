// SPDX-License-Identifier: BSD-3-Clause
// load_library FILE: loads and unloads the dynamic library as a host's plug-in loader does, several times.
// Not linked with it.
#include <cstdio>
#include <dlfcn.h>

namespace {

int failed(const char* what) {
    std::fprintf(stderr, "load_library: %s\n", what);
    return 1;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) return failed("usage: load_library FILE");
    for (int round = 0; round < 3; ++round) {
        void* library = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
        if (!library) return failed(dlerror());
        const auto find = reinterpret_cast<bool (*)(const char*)>(dlsym(library, "_Z13AfxFindModulePKc"));
        if (!find) return failed("AfxFindModule is not exported");
        if (!find("icawave")) return failed("the library has not attached itself");
        if (dlclose(library) != 0) return failed(dlerror());
        if (dlopen(argv[1], RTLD_NOW | RTLD_NOLOAD)) return failed("the library stays loaded");
    }
    return 0;
}
