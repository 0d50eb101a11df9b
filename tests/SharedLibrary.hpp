#pragma once

#include <stdexcept>
#include <string>

#ifdef _WIN32
#include <windows.h>
#else
#include <dlfcn.h>
#endif

/// A shared library, loaded for as long as this object lives.
class SharedLibrary
{
public:
#ifdef _WIN32
    explicit SharedLibrary(const std::string& path) : m_handle(LoadLibraryA(path.c_str()))
    {
        if (!m_handle) throw std::runtime_error("error " + std::to_string(GetLastError()));
    }
    ~SharedLibrary()
    {
        FreeLibrary(m_handle);
    }

    template <class Function>
    void Find(Function& function, const char* name) const
    {
        void (*const found)() = reinterpret_cast<void (*)()>(GetProcAddress(m_handle, name));
        function = reinterpret_cast<Function>(found);
    }

    static bool IsLoaded(const std::string& path)
    {
        return GetModuleHandleA(path.c_str());
    }

private:
    HMODULE m_handle;
#else
    explicit SharedLibrary(const std::string& path)
        : m_handle(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL))
    {
        if (!m_handle) throw std::runtime_error(dlerror());
    }
    ~SharedLibrary()
    {
        dlclose(m_handle);
    }

    template <class Function>
    void Find(Function& function, const char* name) const
    {
        function = reinterpret_cast<Function>(dlsym(m_handle, name));
    }

    static bool IsLoaded(const std::string& path)
    {
        void* const handle = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
        if (handle) dlclose(handle);
        return handle;
    }

private:
    void* m_handle;
#endif

public:
    SharedLibrary(const SharedLibrary&) = delete;
    SharedLibrary& operator=(const SharedLibrary&) = delete;
};
