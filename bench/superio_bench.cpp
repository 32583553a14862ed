/// The cost of operations on the Super I/O chip without port accesses and sleeps: ports answer at
/// once here, and logging is off.

#include <benchmark/benchmark.h>

#include "inpout.h"
#include "solvane_kontron.h"

namespace {

using SLV::Internal::Logger;
using SLV::Internal::SolvaneKontron;

/// The port accesses of TriggerCapture(), without the library.
void PortAccessesOfATrigger(benchmark::State& state) {
    for (auto _ : state) {
        for (int read = 0; read < 2; ++read) {
            Out32(0x2E, 0xED);
            benchmark::DoNotOptimize(Inp32(0x2F));
        }
        for (int write = 0; write < 2; ++write) {
            Out32(0x2E, 0xED);
            Out32(0x2F, 0);
            Out32(0x2E, 0xED);
            benchmark::DoNotOptimize(Inp32(0x2F));
        }
    }
}
BENCHMARK(PortAccessesOfATrigger);

void SuperIoTrigger(benchmark::State& state) {
    Logger logger;
    SolvaneKontron board(logger);
    board.CheckAvailable();
    for (auto _ : state) {
        benchmark::DoNotOptimize(board.TriggerCapture());
    }
}
BENCHMARK(SuperIoTrigger);

void SuperIoCheckReady(benchmark::State& state) {
    Logger logger;
    SolvaneKontron board(logger);
    board.CheckAvailable();
    short ready = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(board.CheckSystemReady(&ready));
    }
}
BENCHMARK(SuperIoCheckReady);

} // namespace
