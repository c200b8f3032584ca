// File descriptors.
#ifndef SUPPORT_DESCRIPTORS_H
#define SUPPORT_DESCRIPTORS_H

// The descriptor that was just made, moved above those of standard input, output and error where a
// process has closed these (a daemon): what it prints all the same must not go to the server, nor
// the log. Closed on exec. -1 with errno where it was -1, and where none is left above.
int above_standard(int descriptor);

#endif
