#include "text/message_sink.h"

#include "text/cstring8.h"

void sendMessageV(MessageSink sink, const char* format, va_list args) {
  if (!sink) return;
  CString8 text;
  text.FormatV(format, args);
  sink("%s", text.Get());
}
