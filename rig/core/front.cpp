#include "front.h"

namespace rig {

Front::Front() {
    Registered().push_back(this);
}

const std::vector<Front*>& Front::All() {
    return Registered();
}

std::vector<Front*>& Front::Registered() {
    static std::vector<Front*> fronts;
    return fronts;
}

} // namespace rig
