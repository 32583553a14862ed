/// The page that the panel shows.
#pragma once

#include <string_view>

namespace rig::panel {

/// HTML. The server gives its <script> and <style> elements the nonce that lets a browser use them.
extern const std::string_view kPage;

} // namespace rig::panel
