/* A program that knows nothing of control objects: it opens, writes and reads. */
#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

int main(int argc, char** argv) {
  char answer[16384];
  if (argc < 3) return 2;
  int fd = open(argv[1], O_RDWR);
  if (fd == -1) {
    printf("errno %d\n", errno);
    return 1;
  }
  if (write(fd, argv[2], strlen(argv[2])) == -1) return 3;
  ssize_t length = read(fd, answer, sizeof answer);
  if (length < 0) return 4;
  printf("%.*s\n", (int)length, answer);
  return close(fd) == 0 ? 0 : 5;
}
