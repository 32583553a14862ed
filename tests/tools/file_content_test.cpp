#include "file_content.h"

#include <string>

#include <gtest/gtest.h>

namespace {

// Examples of NIST for SHA-256, and lengths around the block size with the sums of sha256sum.
TEST(FileContent, SumsAsTheStandardDoes) {
    EXPECT_EQ(host::Sha256(""), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    EXPECT_EQ(host::Sha256("abc"),
              "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_EQ(host::Sha256("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"),
              "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
    EXPECT_EQ(host::Sha256(std::string(1'000'000, 'a')),
              "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
    EXPECT_EQ(host::Sha256(std::string(55, '\xff')),
              "aadaed00a3c5fbb8072ae7f1984ba8199fbe5272de427d11eaf31583af37db51");
    EXPECT_EQ(host::Sha256(std::string(63, '\xff')),
              "d12449c8124182545ae91924286cc6af13528bcf62a5ddbd5e00b891fffc1b48");
    EXPECT_EQ(host::Sha256(std::string(64, '\xff')),
              "8667e718294e9e0df1d30600ba3eeb201f764aad2dad72748643e4a285e1d1f7");
}

} // namespace
