// Single key presses from the console.
#pragma once

// Reads one key without echo and without waiting for Enter. When standard
// input is a terminal it is switched to non-canonical mode without echo for
// the read and restored afterwards, also when a terminating signal (SIGINT,
// SIGTERM, SIGHUP, SIGQUIT) arrives meanwhile. When standard input is not a
// terminal one byte is read. Returns the byte (0..255), or EOF at the end of
// input.
int _getch();

// Non-zero when a key is waiting to be read with _getch. Never blocks.
// Standard input that is not a terminal never reports a key.
int _kbhit();
