// Levelled message log of the base services. Level 1 is an error, 2 information, 3 a trace.
// Messages go to standard error unless a sink is installed (a console, or a test capturing them).
#ifndef Q4_LOG_H
#define Q4_LOG_H

typedef void (*q4_log_sink)(int level, const char* text);

// Installs a sink for every later message; null restores standard error.
void set_q4_log_sink(q4_log_sink sink);

// printf-style; the text is passed on as formatted, without an added newline.
void q4_log(int level, const char* format, ...) __attribute__((format(printf, 2, 3)));

#endif
