/// Leaves out of a recording what identifies its owner.
#pragma once

#include <map>
#include <string>
#include <string_view>

#include "call.h"

namespace rig::record {

/// Gives serial numbers other names: "FT5A1B2CA" and "FT5A1B2CB" become "SN1A" and "SN1B". The last
/// letter stays, because it is that of the channel, and two chips stay two.
class SerialNumbers {
  public:
    void HideInInputs(Call& call);
    void HideInOutputs(Call& call);

  private:
    void Hide(std::string& serial);
    void HideInNodes(std::string& nodes);

    std::map<std::string, std::string, std::less<>> names; ///< without the last letters
};

/// A path without the name of the user whose folder it is in: "C:\Users\USER\field.exe".
std::string WithoutUserName(std::string_view path);

} // namespace rig::record
