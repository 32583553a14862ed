/// What a library that is a module of its own offers its test besides its exports.

#include <new>

/// Calls a function. True if std::bad_alloc left it, which is caught in the module that throws it.
extern "C" __attribute__((visibility("default"))) bool RunsOutOfMemory(void (*function)(void*),
                                                                       void* context) {
    try {
        function(context);
        return false;
    } catch (const std::bad_alloc&) {
        return true;
    }
}
