#pragma once

#include <benchmark/benchmark.h>

/// Times `load` of the object that `fresh` gives, without making and destroying it.
template <typename Fresh, typename Load>
void timeLoad(benchmark::State& state, Fresh fresh, Load load) {
  for (auto _ : state) {
    state.PauseTiming();
    auto object = fresh();
    state.ResumeTiming();
    load(*object);
    state.PauseTiming();
    object.reset();
    state.ResumeTiming();
  }
}
