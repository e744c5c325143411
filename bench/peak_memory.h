#pragma once

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

/// The most memory that a process of its own holds while it does this, in MiB.
template <class Work>
double PeakMemory(Work work) {
  const pid_t child = fork();
  if (child == 0) {
    work();
    _exit(0);
  }
  rusage usage{};
  int status = 0;
  wait4(child, &status, 0, &usage);
  return static_cast<double>(usage.ru_maxrss) / 1024;
}
