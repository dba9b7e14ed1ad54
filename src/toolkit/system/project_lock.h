// ProjectLock: keeps two runs from changing one project at the same time.
//
// A run that changes a project holds an exclusive lock (flock) on the
// project file from before it reads the project until after it has saved,
// so that a second such run cannot read the old content and later save over
// the first run's change. Runs that only read take no lock and are never
// held up. The lock is advisory: other programs do not see it.
#pragma once

class ProjectLock {
 public:
  ProjectLock() = default;
  ~ProjectLock() { release(); }
  ProjectLock(const ProjectLock&) = delete;
  ProjectLock& operator=(const ProjectLock&) = delete;

  // Locks the file `path` leads to, trying for up to `waitMilliseconds`
  // while another run holds it; `onWait` (may be null) is called once when
  // the first try finds it held. Returns 0, EWOULDBLOCK when the other run
  // kept it throughout, or the errno of a failed open.
  int acquire(const char* path, int waitMilliseconds, void (*onWait)(const char* path));
  void release();

 private:
  int fd_ = -1;
};
