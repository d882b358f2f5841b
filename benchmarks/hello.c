/* The least that a CGI program can do. */
#include <stdio.h>

int main(void) {
  puts("Content-Type: text/plain; charset=\"UTF-8\"\n");
  return 0;
}
