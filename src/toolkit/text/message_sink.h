// MessageSink: the printf-style callback through which the toolkit reports
// progress and problems while it reads or writes files.
#pragma once

#include <cstdarg>

using MessageSink = bool (*)(const char* format, ...);

// Formats the message and hands it to `sink` as one text (nothing when the
// sink is null).
void sendMessageV(MessageSink sink, const char* format, va_list args);
