#include <algorithm>

#include "steps/table.h"
#include "tools/command_line.h"
#include "tools/generate/generate.h"

namespace rastelo::tools {
namespace {

/// What a shell is told of a step: its name, with "=" where an argument must follow, or with the
/// words that may.
struct Word {
  std::string text, help;
};

std::vector<Word> StepWords() {
  std::vector<Word> words;
  for (const steps::Step& step : steps::Steps()) {
    const std::string name(step.name), help(step.help);
    const bool alone = std::ranges::all_of(
        step.arguments, [](const steps::Argument& argument) { return argument.IsOptional(); });
    if (alone) words.push_back({name, help});
    if (step.arguments.empty()) continue;
    const auto& choices = step.arguments[0].words;
    for (const std::string_view choice : choices)
      words.push_back({name + "=" + std::string(choice), help});
    if (choices.empty()) words.push_back({name + "=", help});
  }
  return words;
}

std::string Joined(const std::vector<Word>& words) {
  std::string all;
  for (const Word& word : words) all += (all.empty() ? "" : " ") + word.text;
  return all;
}

/// The dashed names of an option, as in "-y,--overwrite".
std::vector<std::string> NamesOf(const OptionHelp& option) {
  std::vector<std::string> names;
  for (std::size_t at = 0; at <= option.names.size();) {
    const std::size_t end = std::min(option.names.find(',', at), option.names.size());
    const std::string name = option.names.substr(at, end - at);
    if (name.starts_with('-')) names.push_back(name);
    at = end + 1;
  }
  return names;
}

std::vector<CommandHelp> ShownCommands() {
  std::vector<CommandHelp> shown;
  for (const CommandHelp& command : Commands())
    if (!command.isHidden) shown.push_back(command);
  return shown;
}

std::string OptionsOf(const CommandHelp& command) {
  std::string all;
  for (const OptionHelp& option : command.options)
    for (const std::string& name : NamesOf(option)) all += (all.empty() ? "" : " ") + name;
  return all;
}

/// Between single quotes, in all three shells.
std::string Quoted(const std::string& text) {
  std::string quoted = "'";
  for (const char character : text) {
    if (character == '\'')
      quoted += "'\\''";
    else
      quoted += character;
  }
  return quoted + "'";
}

/// Bash takes "=" for the end of a word, so what stands before it is cut off the answers.
std::string Bash() {
  std::string text =
      "# Completion of rastelo for bash.\n_rastelo() {\n"
      "  local before=${COMP_LINE:0:COMP_POINT} word words\n"
      "  word=${before##*[[:blank:]]}\n"
      "  case ${COMP_WORDS[1]} in\n";
  std::string commands;
  for (const CommandHelp& command : ShownCommands()) {
    commands += (commands.empty() ? "" : " ") + command.name;
    text += "    " + command.name + ") words=" + Quoted(OptionsOf(command)) + " ;;\n";
  }
  text += "  esac\n  local steps=" + Quoted(Joined(StepWords())) + "\n";
  text += "  if [[ ${before%\"$word\"} =~ ^[^[:blank:]]*[[:blank:]]+$ ]]; then words=" +
          Quoted(commands) + "\n";
  text +=
      R"(  elif [[ $word != -* && ${COMP_WORDS[1]} == run && $COMP_CWORD -gt 2 ]]; then words=$steps
  elif [[ $word != -* && ${COMP_WORDS[1]} == help ]]; then words="$steps "
    words=${words//=*([^ ]) / }
  elif [[ $word != -* ]]; then words=
  fi
  COMPREPLY=()
  local candidate
  for candidate in $words; do [[ $candidate == "$word"* ]] && COMPREPLY+=("$candidate"); done
  if [[ ${#COMPREPLY[@]} -eq 0 || ${COMPREPLY[*]} == "$word" ]]; then
    mapfile -t COMPREPLY < <(compgen -f -- "${word##*=}")
    compopt -o filenames
    return
  fi
  [[ ${#COMPREPLY[@]} -gt 1 || ${COMPREPLY[0]} != *= ]] || compopt -o nospace
  [[ $word != *=* ]] || COMPREPLY=("${COMPREPLY[@]#"${word%%=*}="}")
}
shopt -s extglob
complete -F _rastelo rastelo
)";
  return text;
}

std::string Zsh() {
  std::string text =
      "#compdef rastelo\n# Completion of rastelo for zsh.\n_rastelo() {\n"
      "  local -a commands steps options\n  commands=(\n";
  for (const CommandHelp& command : ShownCommands())
    text += "    " + Quoted(command.name + ":" + command.help) + "\n";
  text += "  )\n  steps=(\n";
  for (const Word& word : StepWords()) text += "    " + Quoted(word.text + ":" + word.help) + "\n";
  text +=
      "  )\n  if (( CURRENT == 2 )); then _describe command commands; return; fi\n"
      "  case $words[2] in\n";
  for (const CommandHelp& command : ShownCommands())
    text += "    " + command.name + ") options=(" + OptionsOf(command) + ") ;;\n";
  text += R"(  esac
  if [[ $PREFIX == -* ]]; then compadd -- $options; return; fi
  if [[ $words[2] == help ]]; then
    steps=(${(u)steps/=[^:]#:/:})
    _describe step steps
    return
  fi
  if [[ $words[2] == run ]] && (( CURRENT > 3 )); then
    _describe step steps -S '' && return
    if [[ $PREFIX == *=* ]]; then compset -P '*='; _files; return; fi
  fi
  _files
}
if [[ $zsh_eval_context[-1] == loadautofunc ]]; then _rastelo "$@"; else compdef _rastelo rastelo; fi
)";
  return text;
}

std::string FishOption(const CommandHelp& command, const OptionHelp& option) {
  std::string line = "complete -c rastelo -n '__fish_seen_subcommand_from " + command.name + "'";
  for (const std::string& name : NamesOf(option))
    line += name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1);
  if (!option.value.empty()) line += " -r";
  return line + " -d " + Quoted(option.help) + "\n";
}

std::string Fish() {
  std::string text = "# Completion of rastelo for fish.\n";
  for (const CommandHelp& command : ShownCommands()) {
    text += "complete -c rastelo -n __fish_use_subcommand -f -a " + command.name + " -d " +
            Quoted(command.help) + "\n";
    for (const OptionHelp& option : command.options)
      if (!NamesOf(option).empty()) text += FishOption(command, option);
  }
  for (const Word& word : StepWords())
    text += "complete -c rastelo -n '__fish_seen_subcommand_from run' -a " + Quoted(word.text) +
            " -d " + Quoted(word.help) + "\n";
  for (const steps::Step& step : steps::Steps())
    text += "complete -c rastelo -n '__fish_seen_subcommand_from help' -f -a " +
            std::string(step.name) + " -d " + Quoted(std::string(step.help)) + "\n";
  return text;
}

}  // namespace

std::string CompletionFor(const std::string& shell) {
  if (shell == "bash") return Bash();
  return shell == "zsh" ? Zsh() : Fish();
}

}  // namespace rastelo::tools
