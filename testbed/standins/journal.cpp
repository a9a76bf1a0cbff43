#include "standins/journal.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <string>

namespace journal {

void append(const char *kind, std::span<const char *const> fields) {
  std::string record = kind;
  for (const char *field : fields) {
    record += '\x1f';
    record += field;
  }
  record += '\x1e';
  const int file = open("/journal", O_WRONLY | O_APPEND | O_CLOEXEC);
  if (file < 0 || write(file, record.data(), record.size()) != static_cast<ssize_t>(record.size())) {
    perror("journal");
  }
  if (file >= 0) close(file);
}

}  // namespace journal
