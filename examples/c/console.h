/* What the example hosts say to their user, and what they hear. */
#ifndef CONSOLE_H
#define CONSOLE_H

/* The line that the user types after `prompt`, without its end. Release it with free(). Null when
 * there is nothing more to read. */
char *readLine(const char *prompt);

/* The entry that the user means with a number from 1 to `count`, counted from 0; -1 if `answer` is
 * something else. */
int indexOf(const char *answer, int count);

#endif
