/// What the library's module in every_allocation_test exports besides the public functions.

#include <new>

/// Calls a function. True if std::bad_alloc left it; it is caught in the module that threw it.
extern "C" __attribute__((visibility("default"))) bool RunsOutOfMemory(void (*function)(void*),
                                                                       void* context) {
    try {
        function(context);
        return false;
    } catch (const std::bad_alloc&) {
        return true;
    }
}
