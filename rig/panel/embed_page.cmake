# Writes a C++ file with the bytes of the page: cmake -DFILE=... -DOUTPUT=... -P embed_page.cmake
file(READ "${FILE}" bytes HEX)
string(REGEX REPLACE "(................................)" "\\1\n" bytes "${bytes}")
string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${bytes}")
file(WRITE "${OUTPUT}" "#include \"page.h\"

namespace rig::panel {

namespace {

constexpr unsigned char kBytes[] = {
${bytes}};

} // namespace

const std::string_view kPage(reinterpret_cast<const char*>(kBytes), sizeof kBytes);

} // namespace rig::panel
")
