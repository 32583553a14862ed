#include "fake_controller.h"

namespace test {

std::vector<std::string> events;

void ResetFakes() {
    events.clear();
    A::Reset();
    B::Reset();
    C::Reset();
    D::Reset();
}

} // namespace test
