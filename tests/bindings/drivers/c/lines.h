/* The lines that a driver reads and writes: words between single spaces, each percent-encoded. An
 * empty word is a lone "%". */
#ifndef LINES_H
#define LINES_H

#include <stdint.h>
#include <stdio.h>

/* Splits `line` and decodes its words, in place. Returns their number, or -1 if there are more than
 * `capacity` or one contains NUL. */
int splitLine(char *line, char **words, int capacity);

/* A line that is being written. */
typedef struct output_line {
  FILE *stream;
  char *text;
  size_t size;
} output_line;

/* Begins a line with `word`, which is written as it is. */
void beginLine(output_line *line, const char *word);

/* Null counts as an empty text. */
void addText(output_line *line, const char *text);
void addNumber(output_line *line, int64_t number);

/* Writes the line to standard output as a whole, also if several threads write lines. */
void endLine(output_line *line);

#endif
