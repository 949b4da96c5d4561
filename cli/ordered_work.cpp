#include "ordered_work.hpp"

#include <algorithm>

namespace vqs {

unsigned usefulJobs(unsigned wanted, const RecordSource& source) {
  if (wanted == 0) wanted = std::max(1u, std::thread::hardware_concurrency());
  const uint64_t total = source.bytesTotal();
  if (total == 0) return wanted;
  return static_cast<unsigned>(std::min<uint64_t>(wanted, total / RecordSource::blockBytes + 1));
}

}  // namespace vqs
