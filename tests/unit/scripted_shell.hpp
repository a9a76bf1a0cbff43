#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "core/command/process.hpp"

/// Stands in for the shell: while one lives, commands are not started, but for the runners that take words. It records
/// the command line to the letter and print what the test scripted for it; a command that was not scripted prints
/// nothing.
class ScriptedShell {
 public:
  ScriptedShell();
  ScriptedShell(const ScriptedShell &) = delete;
  ScriptedShell &operator=(const ScriptedShell &) = delete;
  ~ScriptedShell();

  /// What `command` prints from now on.
  ScriptedShell &answers(const std::string &command, const std::string &output);

  /// From now on no command can be started, or just this one.
  void cannot_start() { can_start_ = false; }
  void cannot_start(const std::string &command) { refused_.insert(command); }

  /// Every command line since the last call, read and run alike, in order.
  std::vector<std::string> commands();

  // For what takes the place of processes.
  static ScriptedShell *current();
  bool record(const std::string &command);
  std::string output_of(const std::string &command);

 private:
  std::map<std::string, std::string> outputs_;
  std::vector<std::string> commands_;
  std::set<std::string> refused_;
  bool can_start_ = true;
  /// The one that it stands in for.
  ScriptedShell *outer_;
  /// What stood in for processes before.
  zol::process::StandIn *before_;
};
