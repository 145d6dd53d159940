// The Nth allocation after arming throws std::bad_alloc. The listings and the
// walks run under it with N = 1, 2, ... until a call gets through: nothing but
// bad_alloc may escape, and no descriptor may stay open.
#include "filesystem/scratch.h"
#include "support/failing_new.h"

namespace {

using AllocationFailure = Scratch;

TEST_F(AllocationFailure, LeavesNoDescriptorOpen) {
  // Without a standard input, descriptor 0 is the first the calls get, and
  // it must come back like any other.
  close(0);
  const long atStart = openDescriptors();
  lay("s/ s/a/ s/a/f s/g");
  const Directory source(at("s")), copy(at("c")), doomed(at("r"));
  const std::function<void()> calls[] = {
      [&] { source.directories(); }, [&] { source.files(); },
      [&] { Fs::glob(source, "*", true); },
      [&] { Fs::copy(source, copy, true); }, [&] { Fs::remove(doomed); }};
  for (const auto& call : calls) {
    for (long failing = 0, failed = 1; failed; ++failing) {
      Fs::copy(source, doomed, true);  // what the last remove left, filled up
      const long before = openDescriptors();
      allocationsLeft = failing;
      try {
        call();
        failed = 0;
      } catch (const std::bad_alloc&) {
      }
      allocationsLeft = -1;
      ASSERT_EQ(openDescriptors(), before) << &call - calls << ' ' << failing;
    }
  }
  EXPECT_EQ(openDescriptors(), atStart);
}

}  // namespace
