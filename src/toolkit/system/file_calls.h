// File calls that carry on where a handled signal (EINTR) or a short count
// stops the plain system call, so that each caller states only what it
// writes, syncs or reads. Each returns 0 or the errno of the failure.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <string>

// Writes all `size` bytes; a write that makes no progress fails with EIO.
int writeWhole(int fd, const void* data, std::size_t size);

// Has the system put the file's data on disk (fsync).
int syncWhole(int fd);

// The folder part of `path` with its closing '/'; empty when it has none.
std::string folderOf(const std::string& path);

// Makes a rename into the folder that holds `path` last (fsync of the
// folder); best effort, as the rename itself has already happened.
void syncFolderOf(const std::string& path);

// Lets the system drop its cached pages of `path` when it is a regular
// file that is about to be replaced. Writing the new file then takes the
// memory they free, which the system hands out at once, instead of memory it
// must first find, or on a virtual machine get from the host: a page cache
// write of 330 MB took 0.27 s that way and 0.81 s without. Best effort; any
// other kind of file, or none, is left alone.
void dropCachedPages(const char* path);

// Reads up to `size` bytes into `data`; `got` is the count read (0 at the
// end of the file).
int readSome(int fd, void* data, std::size_t size, std::size_t& got);
