#define _POSIX_C_SOURCE 200809L

#include "console.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

char *readLine(const char *prompt) {
  char *line = NULL;
  size_t size = 0;
  fputs(prompt, stdout);
  fflush(stdout);
  if (getline(&line, &size, stdin) < 0) {
    free(line);
    return NULL;
  }
  line[strcspn(line, "\n")] = '\0';
  return line;
}

int indexOf(const char *answer, int count) {
  char *end = NULL;
  const long number = strtol(answer, &end, 10);
  const int isNumber = end != answer && *end == '\0';
  return isNumber && number >= 1 && number <= count ? (int)(number - 1) : -1;
}
