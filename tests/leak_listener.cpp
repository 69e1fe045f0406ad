// Linked into every test program: a test that leaves blocks or arrays of the standalone host behind
// fails. The library works on that host, as in a plug-in.

#include <gtest/gtest.h>

#include "mex/host/host_services.h"
#include "mex/standalone/standalone_host.h"

namespace {

using kestrel::standalone::Live;
using kestrel::standalone::live;

class LeakListener : public testing::EmptyTestEventListener {
  void OnTestStart(const testing::TestInfo&) override { _before = live(); }
  void OnTestEnd(const testing::TestInfo&) override {
    EXPECT_EQ(live(), _before) << "the test leaves something behind in the host";
  }

  Live _before;
};

[[maybe_unused]] const bool installed = [] {
  kestrel::host::install_services();
  testing::UnitTest::GetInstance()->listeners().Append(new LeakListener);
  return true;
}();

}  // namespace
