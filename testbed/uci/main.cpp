// The configuration command of the simulated device. It prints as the device's does: values stand unquoted and the
// items of a list are joined by blanks.

#include <unistd.h>

#include <cstdio>
#include <span>
#include <string>
#include <vector>

#include "uci/reference.hpp"
#include "uci/store.hpp"

namespace {

using uci::Change;
using uci::Option;
using uci::Package;
using uci::Reference;
using uci::Section;
using uci::Store;

using Arguments = std::span<char *const>;

constexpr int exit_usage = 255;

/// Whether error messages are suppressed.
bool quiet = false;

int usage() {
  fputs(
      "Usage: uci [-q] [-c <path>] [-p <path>] [-P <path>] <command> [<arguments>]\n\n"
      "Commands:\n"
      "\tshow       [<config>[.<section>[.<option>]]]\n"
      "\tget        <config>.<section>[.<option>]\n"
      "\tset        <config>.<section>[.<option>]=<value>\n"
      "\tadd        <config> <section-type>\n"
      "\tadd_list   <config>.<section>.<option>=<string>\n"
      "\tdel_list   <config>.<section>.<option>=<string>\n"
      "\tdelete     <config>.<section>[.<option>]\n"
      "\trename     <config>.<section>[.<option>]=<name>\n"
      "\treorder    <config>.<section>=<position>\n"
      "\tchanges    [<config>]\n"
      "\tcommit     [<config>]\n"
      "\trevert     <config>[.<section>[.<option>]]\n\n"
      "Options:\n"
      "\t-c <path>  configuration files (default: /etc/config)\n"
      "\t-p <path>  further staged changes to read\n"
      "\t-P <path>  staged changes (default: /tmp/.uci)\n"
      "\t-q         quiet: no error messages\n",
      stderr);
  return exit_usage;
}

void print(const std::string &text) {
  fwrite(text.data(), 1, text.size(), stdout);
  putchar('\n');
}

void show_option(const Package &package, const std::string &section, const Option &option) {
  print(package.name() + "." + section + "." + option.name + "=" + option.text());
}

void show_section(const Package &package, const std::string &name, const Section &section) {
  print(package.name() + "." + name + "=" + section.type);
  for (const Option &option : section.options) show_option(package, name, option);
}

void show_package(const Package &package) {
  for (const Section &section : package.sections()) show_section(package, package.reference(section), section);
}

/// The entry that a reference names. @throws uci::Error when it is not there
struct Entry {
  Section *section;
  Option *option;

  Entry(const Reference &reference, Package &package)
      : section(reference.find_section(package)),
        option(section == nullptr || reference.option.empty() ? nullptr : section->find(reference.option)) {
    if (section == nullptr || (option == nullptr && !reference.option.empty())) throw uci::not_found();
  }
};

void report(const std::exception &failure) {
  if (!quiet) fprintf(stderr, "uci: %s\n", failure.what());
}

/// Runs a command for the package that is named, or for all: one that is broken does not keep the others from it.
template <typename Run>
int for_each_package(const Store &store, Arguments arguments, Run run) {
  if (arguments.size() > 1) return usage();
  int status = 0;
  for (const std::string &name :
       arguments.empty() ? store.packages() : std::vector{Reference::parse(arguments[0]).package}) {
    try {
      run(name);
    } catch (const uci::Error &failure) {
      report(failure);
      status = 1;
    }
  }
  return status;
}

int show(Store &store, Arguments arguments) {
  if (arguments.size() > 1) return usage();
  if (arguments.empty()) {
    return for_each_package(store, arguments, [&](const std::string &name) { show_package(store.load(name)); });
  }
  const Reference reference = Reference::parse(arguments[0]);
  Package package = store.load(reference.package);
  if (reference.section.empty()) {
    show_package(package);
    return 0;
  }
  // An entry that is asked for by itself is printed with its section's own name, also when that is made up.
  const Entry entry(reference, package);
  if (entry.option == nullptr) {
    show_section(package, entry.section->name, *entry.section);
  } else {
    show_option(package, entry.section->name, *entry.option);
  }
  return 0;
}

int get(Store &store, Arguments arguments) {
  if (arguments.size() != 1) return usage();
  const Reference reference = Reference::parse(arguments[0]);
  if (reference.section.empty()) throw uci::invalid_argument();
  Package package = store.load(reference.package);
  const Entry entry(reference, package);
  print(entry.option == nullptr ? entry.section->type : entry.option->text());
  return 0;
}

std::vector<Change> set_value(const Reference &reference, Package &package) {
  Section *section = reference.find_section(package);
  const std::string &value = *reference.value;
  const bool present = section != nullptr && (reference.option.empty() || section->find(reference.option) != nullptr);
  if (value.empty()) {
    // Setting to nothing deletes, and what is not there needs no deleting.
    if (!present) return {};
    return {{Change::Kind::remove, section->name, reference.option, {}}};
  }
  if (section != nullptr) {
    if (reference.option.empty() && !uci::valid_type(value)) throw uci::invalid_argument();
    return {{Change::Kind::set, section->name, reference.option, value}};
  }
  // A new section needs a name of its own and a type.
  if (!reference.option.empty() || !uci::valid_name(reference.section) || !uci::valid_type(value)) {
    throw uci::invalid_argument();
  }
  return {{Change::Kind::set, reference.section, {}, value}};
}

int set(Store &store, Arguments arguments) {
  if (arguments.size() != 1) return usage();
  const Reference reference = Reference::parse(arguments[0]);
  if (reference.section.empty() || !reference.value) throw uci::invalid_argument();
  store.stage(reference.package, [&](Package &package) { return set_value(reference, package); });
  return 0;
}

int add(Store &store, Arguments arguments) {
  if (arguments.size() != 2) return usage();
  const std::string type = arguments[1];
  if (!uci::valid_type(type)) throw uci::invalid_argument();
  std::string name;
  store.stage(arguments[0], [&](Package &package) {
    do {
      name = package.add_anonymous(type).name;
    } while (package.find(name) != &package.sections().back());
    return std::vector<Change>{{Change::Kind::add_section, name, {}, type}};
  });
  print(name);
  return 0;
}

int edit_list(Store &store, Arguments arguments, Change::Kind kind) {
  if (arguments.size() != 1) return usage();
  const Reference reference = Reference::parse(arguments[0]);
  if (reference.option.empty() || !reference.value) throw uci::invalid_argument();
  store.stage(reference.package, [&](Package &package) {
    const Section *section = reference.find_section(package);
    if (section == nullptr) throw uci::invalid_argument();
    return std::vector<Change>{{kind, section->name, reference.option, *reference.value}};
  });
  return 0;
}

int add_list(Store &store, Arguments arguments) { return edit_list(store, arguments, Change::Kind::add_list); }
int del_list(Store &store, Arguments arguments) { return edit_list(store, arguments, Change::Kind::remove_list); }

int remove(Store &store, Arguments arguments) {
  if (arguments.size() != 1) return usage();
  const Reference reference = Reference::parse(arguments[0]);
  if (reference.section.empty() || reference.value) throw uci::invalid_argument();
  store.stage(reference.package, [&](Package &package) {
    const Entry entry(reference, package);
    return std::vector<Change>{{Change::Kind::remove, entry.section->name, reference.option, {}}};
  });
  return 0;
}

int rename(Store &store, Arguments arguments) {
  if (arguments.size() != 1) return usage();
  const Reference reference = Reference::parse(arguments[0]);
  if (reference.section.empty() || !reference.value || !uci::valid_name(*reference.value)) {
    throw uci::invalid_argument();
  }
  store.stage(reference.package, [&](Package &package) {
    const Entry entry(reference, package);
    const bool taken = reference.option.empty() ? package.find(*reference.value) != nullptr
                                                : entry.section->find(*reference.value) != nullptr;
    if (taken) throw uci::Error("Duplicate entry");
    return std::vector<Change>{{Change::Kind::rename, entry.section->name, reference.option, *reference.value}};
  });
  return 0;
}

int reorder(Store &store, Arguments arguments) {
  if (arguments.size() != 1) return usage();
  const Reference reference = Reference::parse(arguments[0]);
  const std::string position = reference.value.value_or("");
  if (reference.section.empty() || !reference.option.empty() || position.empty() ||
      position.find_first_not_of("0123456789") != std::string::npos) {
    throw uci::invalid_argument();
  }
  store.stage(reference.package, [&](Package &package) {
    const Entry entry(reference, package);
    return std::vector<Change>{{Change::Kind::reorder, entry.section->name, {}, position}};
  });
  return 0;
}

int changes(Store &store, Arguments arguments) {
  return for_each_package(store, arguments, [&](const std::string &name) {
    for (const Change &change : store.changes(name)) print(uci::describe(change, name));
  });
}

int commit(Store &store, Arguments arguments) {
  return for_each_package(store, arguments, [&](const std::string &name) { store.commit(name); });
}

int revert(Store &store, Arguments arguments) {
  if (arguments.size() != 1) return usage();
  const Reference reference = Reference::parse(arguments[0]);
  std::string section = reference.section;
  if (section.starts_with('@')) {
    Package package = store.load(reference.package);
    section = Entry(reference, package).section->name;
  }
  store.revert(reference.package, section, reference.option);
  return 0;
}

struct Command {
  const char *name;
  int (*run)(Store &, Arguments);
};

constexpr Command commands[] = {
    {"show", show},         {"get", get},           {"set", set},       {"add", add},
    {"add_list", add_list}, {"del_list", del_list}, {"delete", remove}, {"rename", rename},
    {"reorder", reorder},   {"changes", changes},   {"commit", commit}, {"revert", revert},
};

int run(Store::Folders folders, Arguments arguments) {
  for (const Command &command : commands) {
    if (std::string_view(arguments[0]) != command.name) continue;
    Store store(std::move(folders));
    return command.run(store, arguments.subspan(1));
  }
  return usage();
}

}  // namespace

int main(int argc, char **argv) {
  Store::Folders folders;
  // getopt accepts options behind the command word too, as scripts write them.
  for (int option = 0; (option = getopt(argc, argv, "qc:p:P:")) != -1;) {
    switch (option) {
      case 'q':
        quiet = true;
        break;
      case 'c':
        folders.configuration = optarg;
        break;
      case 'p':
        folders.more_changes.emplace_back(optarg);
        break;
      case 'P':
        folders.changes = optarg;
        break;
      default:
        return usage();
    }
  }
  const Arguments arguments(argv + optind, static_cast<size_t>(argc - optind));
  if (arguments.empty()) return usage();
  try {
    return run(std::move(folders), arguments);
  } catch (const std::exception &failure) {
    report(failure);
    return 1;
  }
}
