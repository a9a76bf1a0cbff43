#include "standins/state.hpp"

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

namespace state {

bool Folder::exists() const { return std::filesystem::is_directory(path_); }

std::optional<std::string> Folder::find(const std::string &value) const {
  FILE *file = fopen((path_ + "/" + value).c_str(), "re");
  if (file == nullptr) return std::nullopt;
  std::string text;
  char block[1024];
  for (size_t got = 0; (got = fread(block, 1, sizeof block, file)) > 0;) text.append(block, got);
  fclose(file);
  if (text.ends_with('\n')) text.pop_back();
  return text;
}

std::string Folder::text(const std::string &value, std::string_view fallback) const {
  return find(value).value_or(std::string(fallback));
}

long long Folder::number(const std::string &value, long long fallback) const {
  const auto text = find(value);
  return text ? strtoll(text->c_str(), nullptr, 10) : fallback;
}

void Folder::set(const std::string &value, std::string_view text) const {
  std::filesystem::create_directories(path_);
  // In one step: another tool may read it meanwhile.
  const std::string target = path_ + "/" + value;
  const std::string staging = path_ + "/.new-" + std::to_string(getpid());
  FILE *file = fopen(staging.c_str(), "we");
  if (file == nullptr) {
    perror(staging.c_str());
    return;
  }
  fprintf(file, "%.*s\n", static_cast<int>(text.size()), text.data());
  fclose(file);
  if (rename(staging.c_str(), target.c_str()) != 0) perror(target.c_str());
}

std::vector<Folder> folders(const std::string &path) {
  std::vector<std::string> names;
  std::error_code failure;
  for (const auto &entry : std::filesystem::directory_iterator("/state/" + path, failure)) {
    if (entry.is_directory()) names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  std::vector<Folder> found;
  found.reserve(names.size());
  const std::string parent = path + "/";
  for (const std::string &name : names) found.emplace_back(parent + name);
  return found;
}

Folder interface(std::string_view name) { return Folder("interfaces/" + std::string(name)); }

std::vector<Folder> interfaces() { return folders("interfaces"); }

bool is_wireless(const Folder &interface) { return interface.name().starts_with("ath") && interface.exists(); }

std::vector<Folder> stations(std::string_view interface) {
  auto found = folders("stations");
  std::erase_if(found, [&](const Folder &station) { return station.text("interface") != interface; });
  return found;
}

std::vector<Folder> neighbours(std::string_view radio) {
  auto found = folders("neighbours");
  std::erase_if(found, [&](const Folder &neighbour) { return neighbour.text("radio", radio) != radio; });
  return found;
}

std::string upper(std::string text) {
  for (char &c : text) c = static_cast<char>(toupper(static_cast<unsigned char>(c)));
  return text;
}

}  // namespace state
