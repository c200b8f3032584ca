// The process's malloc and its kin, and the installer library's one call, whose memory is not the
// driver's: that library does not test what it gets.
#include "tests/memory/allocations.h"

#include <dlfcn.h>
#include <link.h>
#include <odbcinst.h>

#include <cstddef>
#include <cstring>
#include <initializer_list>
#include <new>

#define EVERYWHERE __attribute__((visibility("default")))

#ifdef BEFORE_SANITIZERS
#define REAL(name) __interceptor_##name
#else
#define REAL(name) __libc_##name
#endif
extern "C" {
void *REAL(malloc)(std::size_t size) noexcept;
void *REAL(calloc)(std::size_t count, std::size_t size) noexcept;
void *REAL(realloc)(void *block, std::size_t size) noexcept;
}

thread_local constinit allocation_state allocations = {};

void plan_allocations(const allocation_plan &plan)
{
    allocations.plan = plan;
    allocations.failed = false;
    allocations.seen[BY_DRIVER] = allocations.seen[BY_LIBRARY] = 0;
}

// ---- Who asks ----------------------------------------------------------------------------------

static allocation_owner owner_of(void *caller)
{
    dl_find_object at;
    if (_dl_find_object(caller, &at) == 0)
        for (const char *name : {"libcrypto.", "libssl.", "libzip.", "libz.", "libjansson."})
            if (std::strstr(at.dlfo_link_map->l_name, name) != nullptr)
                return BY_LIBRARY;
    return BY_DRIVER;
}

static bool refuse(void *caller)
{
    allocation_state &state = allocations;
    if (!state.watched || state.quiet)
        return false;
    const allocation_owner owner = owner_of(caller);
    const long number = ++state.seen[owner];
    if (state.plan.number == 0)
        return false;
    const bool due = owner == state.plan.owner && number == state.plan.number;
    state.failed = state.failed || due;
    return due || (state.failed && state.plan.all_behind);
}

// ---- What stands in their place -----------------------------------------------------------------

extern "C" EVERYWHERE void *malloc(std::size_t size) noexcept
{
    return refuse(__builtin_return_address(0)) ? nullptr : REAL(malloc)(size);
}

extern "C" EVERYWHERE void *calloc(std::size_t count, std::size_t size) noexcept
{
    return refuse(__builtin_return_address(0)) ? nullptr : REAL(calloc)(count, size);
}

extern "C" EVERYWHERE void *realloc(void *block, std::size_t size) noexcept
{
    return refuse(__builtin_return_address(0)) ? nullptr : REAL(realloc)(block, size);
}

#ifdef BEFORE_SANITIZERS

// The sanitizer's own does not come by malloc.
EVERYWHERE void *operator new(std::size_t size)
{
    if (refuse(__builtin_return_address(0)))
        throw std::bad_alloc();
    static const auto next = reinterpret_cast<void *(*)(std::size_t)>(dlsym(RTLD_NEXT, "_Znwm"));
    return next(size);
}

#endif

extern "C" EVERYWHERE int SQLGetPrivateProfileString(LPCSTR section, LPCSTR key, LPCSTR fallback,
                                                     LPSTR buffer, int size, LPCSTR file)
{
    static const auto next = reinterpret_cast<decltype(&SQLGetPrivateProfileString)>(
        dlsym(RTLD_NEXT, "SQLGetPrivateProfileString"));
    const bool watched = allocations.watched;
    allocations.watched = false;
    const int length = next(section, key, fallback, buffer, size, file);
    allocations.watched = watched;
    return length;
}
