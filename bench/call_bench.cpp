/// The cost of an exported function beside the controller's own work, and of whole operations
/// without their sleeps and the chip.

#include <benchmark/benchmark.h>

#include <solvane/solvane.h>

#include "library_state.h"

namespace {

using SLV::Internal::SolvaneInterface;

SolvaneInterface& Configured() {
    Solvane_EnforceFTDI();
    return *SLV::Internal::GetLibraryState().controller;
}

void DirectVirtualCall(benchmark::State& state) {
    SolvaneInterface* controller = &Configured();
    for (auto _ : state) {
        benchmark::DoNotOptimize(controller);
        benchmark::DoNotOptimize(controller->CheckAvailable());
    }
}
BENCHMARK(DirectVirtualCall);

void ForwardingExport(benchmark::State& state) {
    Configured();
    for (auto _ : state) {
        benchmark::DoNotOptimize(Solvane_CheckAvailable());
    }
}
BENCHMARK(ForwardingExport);

void CheckSystemReady(benchmark::State& state) {
    Configured();
    short ready = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(Solvane_CheckSystemReady(&ready));
    }
}
BENCHMARK(CheckSystemReady);

void TriggerCapture(benchmark::State& state) {
    Configured();
    for (auto _ : state) {
        benchmark::DoNotOptimize(Solvane_TriggerCapture());
    }
}
BENCHMARK(TriggerCapture);

} // namespace
