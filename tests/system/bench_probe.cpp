/// Guests that a bench would rather not have: very many, some that send noise, one that stalls.
///
///     bench_probe NAME         visits the bench
///     bench_probe NAME cost    measures what a vendor call costs there, and in this process
///     bench_probe NAME calls   calls from many hosts at once until the bench ends
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <windows.h>

#include <sddl.h>

#include "call.h"
#include "frames.h"
#include "inpout.h"
#include "pipe.h"

namespace {

using namespace rig::bench;

constexpr int kCrowd = 100;
constexpr int kNoises = 500;

HANDLE OpenRaw(const std::string& name) {
    const std::string path = "\\\\.\\pipe\\solvane-rig-" + name;
    for (;;) {
        const HANDLE pipe = CreateFileA(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                        OPEN_EXISTING, 0, nullptr);
        if (pipe != INVALID_HANDLE_VALUE || GetLastError() != ERROR_PIPE_BUSY) {
            return pipe;
        }
        WaitNamedPipeA(path.c_str(), 5000);
    }
}

void SendRaw(HANDLE pipe, const std::string& bytes) {
    DWORD written = 0;
    WriteFile(pipe, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
}

/// Whether a question is answered; the connection stays open.
bool IsAnswered(Connection& connection) {
    return DecodedReply(connection.Exchange(Encoded(Command{{"captures"}, false}))).text == "0";
}

std::unique_ptr<Connection> Join(const std::string& name, bool isHost) {
    auto connection = ConnectPipe(name);
    DecodedHostNumber(connection->Exchange(Encoded(ThisProcess(isHost))));
    return connection;
}

void Crowd(const std::string& name) {
    std::vector<std::unique_ptr<Connection>> all;
    int answered = 0;
    for (int i = 0; i < kCrowd; ++i) {
        all.push_back(Join(name, i % 2 == 0));
    }
    for (const auto& each : all) {
        answered += IsAnswered(*each) ? 1 : 0;
    }
    std::printf("%d of %d connections were answered\n", answered, kCrowd);
}

/// Messages of noise are answered, by a refusal. Noise that is no message announces one that does
/// not come; the connection is closed then.
void Noise(const std::string& name) {
    std::mt19937 random{7};
    int answered = 0;
    for (int i = 0; i < kNoises; ++i) {
        std::string noise(random() % 200, '\0');
        for (char& c : noise) {
            c = static_cast<char>(random());
        }
        const HANDLE stream = OpenRaw(name);
        SendRaw(stream, noise);
        CloseHandle(stream);
        const HANDLE pipe = OpenRaw(name);
        SendRaw(pipe, Framed(noise));
        char answer[512];
        DWORD size = 0;
        answered += ReadFile(pipe, answer, sizeof answer, &size, nullptr) && size > 0 ? 1 : 0;
        CloseHandle(pipe);
    }
    std::printf("%d of %d messages of noise were answered beside as many streams of it\n", answered,
                kNoises);
}

void Stall(const std::string& name) {
    const HANDLE stalling = OpenRaw(name);
    SendRaw(stalling, Framed(std::string(100, 'x')).substr(0, 50));
    const bool isAnswered = IsAnswered(*Join(name, true));
    std::printf("others are %s beside one that stalls in mid-message\n",
                isAnswered ? "answered" : "not answered");
    CloseHandle(stalling);
}

/// Who may open the pipe, as Windows' text for such a rule, with "the user" for this process's own.
std::string AccessRule(HANDLE pipe) {
    alignas(SECURITY_DESCRIPTOR) char descriptor[1024];
    alignas(TOKEN_USER) char user[256];
    DWORD size = 0;
    HANDLE token = nullptr;
    LPSTR rule = nullptr;
    LPSTR sid = nullptr;
    if (!GetKernelObjectSecurity(pipe, DACL_SECURITY_INFORMATION, descriptor, sizeof descriptor,
                                 &size) ||
        !ConvertSecurityDescriptorToStringSecurityDescriptorA(
            descriptor, SDDL_REVISION_1, DACL_SECURITY_INFORMATION, &rule, nullptr) ||
        !OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token) ||
        !GetTokenInformation(token, TokenUser, user, sizeof user, &size) ||
        !ConvertSidToStringSidA(reinterpret_cast<TOKEN_USER*>(user)->User.Sid, &sid)) {
        return "Windows error " + std::to_string(GetLastError());
    }
    std::string text = rule;
    const std::string mine = sid;
    for (auto at = text.find(mine); at != std::string::npos; at = text.find(mine)) {
        text.replace(at, mine.size(), "the user");
    }
    return text;
}

void Access(const std::string& name) {
    std::printf("the pipe's access rule is %s\n", AccessRule(OpenRaw(name)).c_str());
}

/// The median of many calls, in us.
double CostOfACall() {
    constexpr int kCalls = 5001;
    std::vector<double> costs;
    for (int i = 0; i < kCalls; ++i) {
        const auto begin = std::chrono::steady_clock::now();
        IsInpOutDriverOpen();
        const std::chrono::duration<double, std::micro> cost =
            std::chrono::steady_clock::now() - begin;
        costs.push_back(cost.count());
    }
    std::nth_element(costs.begin(), costs.begin() + kCalls / 2, costs.end());
    return costs[kCalls / 2];
}

HostSide* side = nullptr;

void Cost(const std::string& name) {
    const double here = CostOfACall();
    HostSide bench([&] { return ConnectPipe(name); }, ThisProcess(true), [](const std::string&) {});
    side = &bench;
    rig::answerer = [](rig::Call& call) { side->Answer(call); };
    std::printf("a vendor call: %.1f us in the host's process, %.1f us on a bench\n", here,
                CostOfACall());
}

/// Returns when the bench has ended: so it does in the middle of calls.
void Calls(const std::string& name) {
    constexpr int kHosts = 8;
    const rig::VendorFunction& function =
        rig::VendorFunctions()[static_cast<std::size_t>(rig::Function::FT_CreateDeviceInfoList)];
    std::vector<std::thread> hosts;
    for (int i = 0; i < kHosts; ++i) {
        hosts.emplace_back([&] {
            try {
                const auto connection = Join(name, true);
                for (;;) {
                    rig::Call call{
                        function, {std::uint64_t{1}}, {}}; // 1: a pointer that is not null
                    DecodeAnswer(connection->Exchange(Encoded(call)), call);
                }
            } catch (const NoBench&) {
            }
        });
    }
    for (std::thread& host : hosts) {
        host.join();
    }
    std::printf("%d hosts called until the bench ended\n", kHosts);
}

} // namespace

int main(int count, char** arguments) {
    if (count < 2) {
        return 2;
    }
    const std::string name = arguments[1];
    if (count > 2) {
        (arguments[2] == std::string("calls") ? Calls : Cost)(name);
        return 0;
    }
    Access(name);
    Crowd(name);
    Noise(name);
    Stall(name);
    return 0;
}
