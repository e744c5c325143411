#include "steps/platform/processors.h"

#include <sched.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

namespace rastelo::steps::platform {
namespace {

namespace fs = std::filesystem;

int AllowedProcessors() {
#ifdef CPU_COUNT
  cpu_set_t allowed{};  // more than it holds, 1024, count as unknown
  if (::sched_getaffinity(0, sizeof allowed, &allowed) == 0) return CPU_COUNT(&allowed);
#endif
  return static_cast<int>(std::thread::hardware_concurrency());
}

/// The control group of this process; empty if there are none.
fs::path ControlGroup() {
  std::ifstream groups("/proc/self/cgroup");
  for (std::string line; std::getline(groups, line);)
    if (line.starts_with("0::/")) return "/sys/fs/cgroup/" + line.substr(4);
  return {};
}

/// Processors' worth of time that one group grants, `most` at the most.
double GrantedBy(const fs::path& group, double most) {
  std::ifstream file(group / "cpu.max");  // "max 100000" or "150000 100000"
  double quota = 0, period = 0;
  return file >> quota >> period && period > 0 ? std::min(quota / period, most) : most;
}

double Granted(double most) {
  for (fs::path group = ControlGroup(); group.native().starts_with("/sys/fs/cgroup");
       group = group.parent_path())
    most = GrantedBy(group, most);
  return most;
}

}  // namespace

int Processors() {
  const int allowed = std::max(AllowedProcessors(), 1);
  return std::max(static_cast<int>(std::ceil(Granted(allowed))), 1);
}

}  // namespace rastelo::steps::platform
