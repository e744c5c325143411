#include "tools/steps.h"

#include "tools/error.h"
#include "tools/step_families.h"

namespace rastelo::tools {

const std::vector<Step>& Steps() {
  static const std::vector<Step> steps = [] {
    std::vector<Step> all;
    for (const auto family :
         {ScreenSteps(), GeometrySteps(), HistogramSteps(), FilterSteps(), FrequencySteps()})
      all.insert(all.end(), family.begin(), family.end());
    return all;
  }();
  return steps;
}

Action ParseStep(const std::string& text) {
  const std::size_t equals = text.find('=');
  const std::string name = text.substr(0, equals);
  for (const Step& step : Steps()) {
    if (step.name != name) continue;
    const bool hasArgument = equals != std::string::npos;
    const bool mayHaveArgument = !step.argument.empty();
    const bool mustHaveArgument = step.argument.starts_with("=");
    const std::string argument = hasArgument ? text.substr(equals + 1) : std::string();
    if (hasArgument ? !mayHaveArgument || argument.empty() : mustHaveArgument)
      throw UsageError("step '" + text + "': expected " + name + std::string(step.argument));
    try {
      const Action action = step.parse(argument);
      return [text, action](RunState& state) {
        try {
          action(state);
        } catch (const OperationError& error) {
          throw OperationError("step '" + text + "': " + error.what());
        }
      };
    } catch (const UsageError& error) {
      throw UsageError("step '" + text + "': " + error.what());
    } catch (const OperationError& error) {
      throw OperationError("step '" + text + "': " + error.what());
    }
  }
  throw UsageError("there is no step '" + name + "'; 'rastelo steps' lists them");
}

}  // namespace rastelo::tools
