#pragma once

#include <sys/types.h>

#include <vector>

namespace folvane::bench {

// A process and every process below it (children, their children...), read
// from /proc: a web view's renderer and helper processes are children of the
// program or of its zygote.
std::vector<pid_t> processTree(pid_t root);

// The resident memory of a process tree in KiB: the sum of VmRSS of each.
long residentKiB(pid_t root);

}  // namespace folvane::bench
