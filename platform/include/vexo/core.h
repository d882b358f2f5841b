#pragma once
// The host's core utilities.

struct VLIBCSzList; ///< a list of texts; the host's own
using PSZLIST = VLIBCSzList *;

/// A new, empty list with room for `size` bytes of text (it grows by itself), to release with
/// VLIBCSzListFree(); null: no memory.
PSZLIST VLIBCSzListAlloc(int size);
/// Releases a list and its texts. Null is allowed.
void VLIBCSzListFree(PSZLIST list);
/// Splits `text` at every `separator` and appends the pieces to `*list`, which may be moved. No
/// empty pieces. The number of pieces, or -1.
int VLIBCStrSep(const char *text, const char *separator, PSZLIST *list);
/// Trims blanks, tabs and line ends in place at both ends (mode 0). 0, or -1: failed.
int VLIBCStrTrimSpace(char *text, int mode);
/// Stores the code page that `which` (2: that of the host's texts) stands for in `*codePage`. 0, or
/// -1: not known.
int VLIBCCodePageGet(int which, int *codePage);
/// Converts `utf8` into the code page, into `buffer` of `size` bytes, always terminated. A
/// character that the page lacks may be replaced. The number of bytes written without the
/// terminator, or -1: not convertible, or it does not fit.
int VLIBCUnicodeStrUTF8ToCP(int codePage, const char *utf8, char *buffer, int size);
/// Runs the executable `path` with the arguments up to the first null one and waits for its end.
/// Its exit status (0 on success), or -1: it could not be run, or did not end by itself.
int VLIBCExec(const char *path, const char *arg1, const char *arg2, const char *arg3,
              const char *arg4);
/// Writes one event to the administrative log. 0, or -1.
int VEXOLogSet1(int kind, int level, unsigned event, const char *text, const char *a, const char *b,
                const char *c);
/// Copies the value of a setting of the audio package into `buffer` of `size` bytes. Its length
/// plus one when the key exists, else 0.
int VEXOAudioConfGet(const char *key, char *buffer, int size);
