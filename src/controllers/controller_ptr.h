/// How a controller is created, owned and destroyed.
#pragma once

#include <functional>
#include <memory>

#include "solvane_interface.h"

namespace SLV::Internal {

using ControllerDeleter = std::function<void(SolvaneInterface*)>;

/// Owns a controller together with the deleter that belongs to it. Assigning a new controller
/// stores the new object first, then destroys the old one with the old one's deleter, then keeps
/// the new deleter.
using ControllerPtr = std::unique_ptr<SolvaneInterface, ControllerDeleter>;

using ControllerFactory = std::function<ControllerPtr(Logger&)>;

/// The factory of a concrete controller. Its deleter destroys an object of that very class and
/// leaves any other alone.
template <typename Controller>
ControllerPtr MakeController(Logger& logger) {
    return ControllerPtr(new Controller(logger), [](SolvaneInterface* object) {
        delete dynamic_cast<Controller*>(object);
    });
}

} // namespace SLV::Internal
