// Recursive mutexes of the threads library.
#include "support/locks.h"

int cass_lock_init(cass_lock *lock)
{
    pthread_mutexattr_t recursive;
    int failure = pthread_mutexattr_init(&recursive);
    if (failure != 0)
        return failure;
    failure = pthread_mutexattr_settype(&recursive, PTHREAD_MUTEX_RECURSIVE);
    if (failure == 0)
        failure = pthread_mutex_init(&lock->mutex, &recursive);
    pthread_mutexattr_destroy(&recursive);
    return failure;
}

void cass_lock_destroy(cass_lock *lock)
{
    pthread_mutex_destroy(&lock->mutex);
}

int cass_lock_try_enter(cass_lock *lock)
{
    return pthread_mutex_trylock(&lock->mutex) == 0 ? 1 : 0;
}
