/// How a controller is created, owned and destroyed.
#pragma once

#include <functional>
#include <memory>

#include "solvane_interface.h"

namespace SLV::Internal {

using ControllerDeleter = std::function<void(SolvaneInterface*)>;

/// Owns a controller and its deleter. An assignment stores the new object, destroys the old one
/// with the old deleter, then stores the new deleter.
using ControllerPtr = std::unique_ptr<SolvaneInterface, ControllerDeleter>;

using ControllerFactory = std::function<ControllerPtr(Logger&)>;

/// The factory of a concrete controller. Its deleter ignores objects of any other class.
template <typename Controller>
ControllerPtr MakeController(Logger& logger) {
    return ControllerPtr(new Controller(logger), [](SolvaneInterface* object) {
        delete dynamic_cast<Controller*>(object);
    });
}

} // namespace SLV::Internal
