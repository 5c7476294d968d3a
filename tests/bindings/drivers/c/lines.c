#define _POSIX_C_SOURCE 200809L

#include "lines.h"

#include <ctype.h>
#include <inttypes.h>
#include <stdlib.h>
#include <string.h>

/* Decodes `text` in place. Returns 0 if it contains NUL. */
static int decode(char *text) {
  const char *next = text;
  while (*next != '\0') {
    if (*next == '%' && isxdigit((unsigned char)next[1]) && isxdigit((unsigned char)next[2])) {
      const char digits[] = {next[1], next[2], '\0'};
      *text = (char)strtol(digits, NULL, 16);
      if (*text++ == '\0') return 0;
      next += 3;
    } else if (*next == '%') {
      ++next;
    } else {
      *text++ = *next++;
    }
  }
  *text = '\0';
  return 1;
}

int splitLine(char *line, char **words, int capacity) {
  char *rest = NULL;
  int count = 0;
  char *word = strtok_r(line, " \n", &rest);
  for (; word != NULL; word = strtok_r(NULL, " \n", &rest)) {
    if (count == capacity || !decode(word)) return -1;
    words[count++] = word;
  }
  return count;
}

void beginLine(output_line *line, const char *word) {
  line->stream = open_memstream(&line->text, &line->size);
  if (line->stream == NULL) abort();
  fputs(word, line->stream);
}

void addText(output_line *line, const char *text) {
  const char *c = text == NULL ? "" : text;
  fputs(*c == '\0' ? " %" : " ", line->stream);
  for (; *c != '\0'; ++c) {
    const unsigned char byte = (unsigned char)*c;
    const int isUnreserved =
        byte < 0x80 && (isalnum(byte) || (byte != '\0' && strchr("-._~", byte) != NULL));
    if (isUnreserved) {
      fputc(byte, line->stream);
    } else {
      fprintf(line->stream, "%%%02X", byte);
    }
  }
}

void addNumber(output_line *line, int64_t number) { fprintf(line->stream, " %" PRId64, number); }

void endLine(output_line *line) {
  fputc('\n', line->stream);
  fclose(line->stream);
  fputs(line->text, stdout); /* a single call, during which stdio holds its lock */
  fflush(stdout);
  free(line->text);
}
