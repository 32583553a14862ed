/// The cost of a log step with and without a callback, compared with spdlog and the same line
/// format.

#include <cstring>

#include <benchmark/benchmark.h>
#include <spdlog/details/null_mutex.h>
#include <spdlog/logger.h>
#include <spdlog/sinks/base_sink.h>

#include "logger.h"

namespace {

using SLV::Internal::Logger;

void SOLVANE_CALL Receive(void* context, const char* line) {
    *static_cast<std::size_t*>(context) += std::strlen(line);
}

/// Hands each formatted line to a C callback, as the library does.
class CallbackSink final : public spdlog::sinks::base_sink<spdlog::details::null_mutex> {
  public:
    explicit CallbackSink(std::size_t* target) : context(target) {}

  protected:
    void sink_it_(const spdlog::details::log_msg& message) override {
        spdlog::memory_buf_t formatted;
        formatter_->format(message, formatted);
        formatted.push_back('\0');
        Receive(context, formatted.data());
    }
    void flush_() override {}

  private:
    std::size_t* context;
};

void NothingAtAll(benchmark::State& state) {
    Logger logger;
    short status = -3;
    for (auto _ : state) {
        benchmark::DoNotOptimize(logger);
        benchmark::DoNotOptimize(status);
    }
}
BENCHMARK(NothingAtAll);

void LogStepWithoutListener(benchmark::State& state) {
    Logger logger;
    short status = -3;
    for (auto _ : state) {
        benchmark::DoNotOptimize(logger);
        benchmark::DoNotOptimize(status);
        logger.Line("Configure() result: ", status);
    }
}
BENCHMARK(LogStepWithoutListener);

void DeliveredLine(benchmark::State& state) {
    Logger logger;
    std::size_t received = 0;
    logger.Install(&received, Receive);
    short status = -3;
    for (auto _ : state) {
        benchmark::DoNotOptimize(status);
        logger.Line("Configure() result: ", status);
    }
    benchmark::DoNotOptimize(received);
}
BENCHMARK(DeliveredLine);

void DeliveredLineOfSpdlog(benchmark::State& state) {
    std::size_t received = 0;
    spdlog::logger logger("bench", std::make_shared<CallbackSink>(&received));
    logger.set_pattern("[%H:%M:%S.%e] %v");
    short status = -3;
    for (auto _ : state) {
        benchmark::DoNotOptimize(status);
        logger.info("Configure() result: {}", status);
    }
    benchmark::DoNotOptimize(received);
}
BENCHMARK(DeliveredLineOfSpdlog);

} // namespace
