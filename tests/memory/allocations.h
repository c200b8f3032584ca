// Memory that runs out at a moment of the test's choice. malloc and its kin of the whole process
// pass through here; what fails are allocations of a thread that is watched, which is one inside a
// call of the driver. So the scripted server and the test itself always find memory.
#ifndef TESTS_MEMORY_ALLOCATIONS_H
#define TESTS_MEMORY_ALLOCATIONS_H

// Who asks: the driver with the C and C++ libraries that work for it, or one of the libraries that
// have allocations by the thousand of their own (OpenSSL, libzip, zlib, jansson).
enum allocation_owner { BY_DRIVER, BY_LIBRARY };

struct allocation_plan {
    allocation_owner owner = BY_DRIVER;
    long number = 0;          // the one to fail, from 1; 0: none
    bool all_behind = false;  // and from there on all of both owners
};

struct allocation_state {
    bool watched;
    bool quiet;  // watched, but nothing is planned for these
    allocation_plan plan;
    bool failed;   // the plan has come true
    long seen[2];  // by owner, since the plan was made
};
extern thread_local constinit allocation_state allocations;

// From the next watched allocation on; counts anew.
void plan_allocations(const allocation_plan &plan);

// The value of a call of the driver, watched.
#define DRIVER(...)                                                                                \
    ([&] {                                                                                         \
        allocations.watched = true;                                                                \
        const auto value = __VA_ARGS__;                                                            \
        allocations.watched = false;                                                               \
        return value;                                                                              \
    }())

#endif
