// The configuration command of the simulated device, as it was in 2014 or as it is in 2025.

#include <unistd.h>

#include <cstdio>
#include <span>
#include <string>
#include <utility>

#include "uci/store.hpp"
#include "uci/syntax.hpp"

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
      "\tdelete     <config>.<section>[.<option>[=<item>]]\n"
      "\trename     <config>.<section>[.<option>]=<name>\n"
      "\treorder    <config>.<section>=<position>\n"
      "\tchanges    [<config>]\n"
      "\tcommit     [<config>]\n"
      "\trevert     <config>[.<section>[.<option>]]\n\n"
      "Options:\n"
      "\t-c <path>  configuration files (default: /etc/config)\n"
      "\t-p <path>  further staged changes to read\n"
      "\t-P <path>  staged changes (default: /tmp/.uci), which are not committed\n"
      "\t-q         quiet: no error messages\n",
      stderr);
  return exit_usage;
}

void print(const std::string &text) {
  fwrite(text.data(), 1, text.size(), stdout);
  putchar('\n');
}

/// A value as it is printed: a list's items joined by blanks. The newer command puts all of them in quotes, or, where
/// values are printed alone, the items of a list that hold blanks.
std::string text_of(const Option &option, bool alone) {
  std::string text;
  for (size_t i = 0; i < option.values.size(); ++i) {
    const std::string &value = option.values[i];
    if (i > 0) text += ' ';
    if (uci::newer && (!alone || (option.is_list && value.find_first_of(" \t\r\n") != std::string::npos))) {
      text += uci::quoted(value);
    } else {
      text += value;
    }
  }
  return text;
}

void show_option(const Package &package, const std::string &section, const Option &option) {
  print(package.name() + "." + section + "." + option.name + "=" + text_of(option, false));
}

void show_section(const Package &package, const std::string &name, const Section &section) {
  print(package.name() + "." + name + "=" + section.type);
  for (const Option &option : section.options) show_option(package, name, option);
}

void show_package(const Package &package) {
  for (const Section &section : package.sections()) show_section(package, package.reference(section), section);
}

/// As far as a reference leads: to a package, a section or an option.
struct Entry {
  Section *section = nullptr;
  Option *option = nullptr;
  bool complete = false;

  Entry(const Reference &reference, Package &package) {
    if (reference.section) {
      section = uci::valid_name(*reference.section) ? package.find(*reference.section)
                                                    : package.find_by_position(*reference.section);
      if (section != nullptr && reference.option) option = section->find(*reference.option);
    }
    complete = (!reference.section || section != nullptr) && (!reference.option || option != nullptr);
  }
};

void report(const std::exception &failure) {
  if (!quiet) fprintf(stderr, "uci: %s\n", failure.what());
}

void show_reference(const Store &store, const char *text) {
  const Reference reference = Reference::parse(text);
  Package package = store.load(reference.package);
  const Entry entry(reference, package);
  // What is missing makes the older command show what it has found on the way there.
  if (entry.complete || !uci::newer) {
    // An entry that is asked for by itself is printed with its section's own name, also when that is made up.
    if (entry.option != nullptr) {
      show_option(package, entry.section->name, *entry.option);
    } else if (entry.section != nullptr) {
      show_section(package, entry.section->name, *entry.section);
    } else {
      show_package(package);
    }
  }
  if (!entry.complete) throw uci::not_found();
}

void list_changes(const Store &store, const char *text) {
  const Reference reference = Reference::parse(text);
  Package package = store.load(reference.package);
  Entry(reference, package);
  for (const Change &change : store.changes(reference.package)) print(uci::describe(change, reference.package));
}

/// Whether staged changes must not be written, as with a folder of one's own for them.
bool stays_staged = false;

void commit_package(const Store &store, const char *text) {
  const Reference reference = Reference::parse(text);
  Package package = store.load(reference.package);
  Entry(reference, package);
  if (!stays_staged) store.commit(reference.package);
}

/// Runs a command for what is named, or for all packages: one that is broken does not keep the others from it.
template <void (*Run)(const Store &, const char *)>
int for_each_package(const Store &store, Arguments arguments) {
  if (arguments.size() > 1) return usage();
  if (arguments.size() == 1) {
    Run(store, arguments[0]);
    return 0;
  }
  for (const std::string &name : store.packages()) {
    try {
      Run(store, name.c_str());
    } catch (const uci::Error &failure) {
      report(failure);
    }
  }
  return 0;
}

int get(const Store &store, Arguments arguments) {
  if (arguments.size() != 1) return usage();
  const Reference reference = Reference::parse(arguments[0]);
  Package package = store.load(reference.package);
  const Entry entry(reference, package);
  if (reference.value) return 1;
  if (!entry.complete) throw uci::not_found();
  if (entry.section != nullptr) print(entry.option == nullptr ? entry.section->type : text_of(*entry.option, true));
  return 0;
}

int add(const Store &store, Arguments arguments) {
  if (arguments.size() != 2) return usage();
  std::string name;
  try {
    if (!uci::valid_type(arguments[0])) throw uci::invalid_argument();
    store.stage(arguments[0], [&](Package &package) {
      name = package.add_anonymous(arguments[1]).name;
      return Change{Change::Kind::add_section, name, {}, arguments[1]};
    });
  } catch (const uci::Error &failure) {
    report(failure);
    return failure.code;
  }
  print(name);
  return 0;
}

/// Stages a change of what the only argument names.
template <Change::Kind Kind>
int edit(const Store &store, Arguments arguments) {
  if (arguments.size() != 1) return usage();
  const Reference reference = Reference::parse(arguments[0]);
  int status = 0;
  store.stage(reference.package, [&](Package &package) -> std::optional<Change> {
    const Entry entry(reference, package);
    int number = 0;
    if (Kind == Change::Kind::remove && reference.value && sscanf(reference.value->c_str(), "%d", &number) == 0) {
      status = 1;
      return std::nullopt;
    }
    if (!reference.section) throw Kind == Change::Kind::reorder ? uci::not_found() : uci::invalid_argument();
    return uci::apply({Kind, entry.section == nullptr ? *reference.section : entry.section->name,
                       Kind == Change::Kind::reorder ? std::nullopt : reference.option, reference.value},
                      package);
  });
  return status;
}

int revert(const Store &store, Arguments arguments) {
  if (arguments.size() != 1) return usage();
  const Reference reference = Reference::parse(arguments[0]);
  Package package = store.load(reference.package);
  const Entry entry(reference, package);
  if (reference.value) return 1;
  try {
    store.revert(reference.package, entry.section == nullptr ? reference.section : entry.section->name,
                 reference.option);
  } catch (const uci::Error &) {
    // Not told, and all stays staged.
  }
  return 0;
}

struct Command {
  const char *name;
  int (*run)(const Store &, Arguments);
};

using Kind = Change::Kind;

constexpr Command commands[] = {
    {"show", for_each_package<show_reference>},
    {"changes", for_each_package<list_changes>},
    {"commit", for_each_package<commit_package>},
    {"get", get},
    {"add", add},
    {"revert", revert},
    {"set", edit<Kind::set>},
    {"add_list", edit<Kind::add_list>},
    {"del_list", edit<Kind::remove_list>},
    {"delete", edit<Kind::remove>},
    {"del", edit<Kind::remove>},
    {"rename", edit<Kind::rename>},
    {"reorder", edit<Kind::reorder>},
};

int run(Store::Folders folders, Arguments arguments) {
  for (const Command &command : commands) {
    if (std::string_view(arguments[0]) != command.name) continue;
    const Store store(std::move(folders));
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
        folders.more_changes.push_back(std::exchange(folders.changes, optarg));
        stays_staged = true;
        break;
      default:
        usage();
        return 0;
    }
  }
  const Arguments arguments(argv + optind, static_cast<size_t>(argc - optind));
  if (arguments.empty()) {
    usage();
    return 0;
  }
  try {
    return run(std::move(folders), arguments);
  } catch (const std::exception &failure) {
    report(failure);
    return 1;
  }
}
