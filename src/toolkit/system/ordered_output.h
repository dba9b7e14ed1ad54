// Standard error that flushes standard output before each write, so that a
// log of both streams in one file reads in the order a terminal shows them,
// while standard output keeps its full buffer for large outputs.
#pragma once

// Replaces the process's stderr stream with one that does this (writing to
// file descriptor 2, unbuffered). Call once, at the start of main.
void flushOutputBeforeErrors();
