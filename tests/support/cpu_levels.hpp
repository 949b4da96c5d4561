// Runs a test body once for every form of vector code that this processor can run.
#pragma once

#include <gtest/gtest.h>

#include "text/cpu.hpp"

namespace test {

template <class Body>
void atEveryLevel(Body body) {
  const auto before = vq::cpu::level;
  for (auto level : {vq::cpu::Level::portable, vq::cpu::Level::avx2, vq::cpu::Level::avx512}) {
    if (level > vq::cpu::detect()) break;
    SCOPED_TRACE(testing::Message() << "cpu level " << static_cast<int>(level));
    vq::cpu::level = level;
    body();
    if (testing::Test::HasFatalFailure()) break;
  }
  vq::cpu::level = before;
}

}  // namespace test
