// Recursive locks. A lock is a plain record inside a handle record; whoever makes the record
// initialises its locks and destroys them before the record is freed.
#ifndef SUPPORT_LOCKS_H
#define SUPPORT_LOCKS_H

#include <pthread.h>

struct cass_lock {
    pthread_mutex_t mutex;
};

// Makes a recursive lock. 0, or the error number of the system when it has no resources left.
int cass_lock_init(cass_lock *lock);

// Releases what cass_lock_init took. The lock must not be held.
void cass_lock_destroy(cass_lock *lock);

// Waits for the lock. A thread that holds it may enter again and must leave as often.
inline void cass_lock_enter(cass_lock *lock)
{
    pthread_mutex_lock(&lock->mutex);
}

inline void cass_lock_leave(cass_lock *lock)
{
    pthread_mutex_unlock(&lock->mutex);
}

// Holds the lock to the end of its scope, on every way out of it.
struct cass_lock_guard {
    cass_lock *lock;
    explicit cass_lock_guard(cass_lock *held) : lock(held) { cass_lock_enter(lock); }
    ~cass_lock_guard() { cass_lock_leave(lock); }
    cass_lock_guard(const cass_lock_guard &) = delete;
    cass_lock_guard &operator=(const cass_lock_guard &) = delete;
};

// Holds off a pthread_cancel of this thread to the end of its scope, where the thread's own setting
// returns. Stands round whatever waits or writes a file: a thread that ended there would leave a
// reply half read and a record half written. It costs some forty instructions.
struct cass_cancel_guard {
    int before;
    cass_cancel_guard() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before); }
    ~cass_cancel_guard() { pthread_setcancelstate(before, nullptr); }
    cass_cancel_guard(const cass_cancel_guard &) = delete;
    cass_cancel_guard &operator=(const cass_cancel_guard &) = delete;
};

// One number or pointer that a thread writes while others may read it without a lock: a reader
// meets the old value or the new one. Nothing else is ordered by it.
template <typename Value>
inline Value shared_get(const Value *place)
{
    return __atomic_load_n(place, __ATOMIC_RELAXED);
}

template <typename Value>
inline void shared_put(Value *place, Value value)
{
    __atomic_store_n(place, value, __ATOMIC_RELAXED);
}

// Takes the lock only if nobody else holds it. 1 when taken, else 0.
int cass_lock_try_enter(cass_lock *lock);

#endif
