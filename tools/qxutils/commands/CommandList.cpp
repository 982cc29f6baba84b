#include "commands/Command.h"

namespace qx::tool {

// A new command is declared and listed here, and known nowhere else; the file that is named after it defines it.
AddCommand addDemoCommand, addCheckCommand, addSnrCommand, addReportCommand, addCompareCommand, addTrendCommand,
    addWatchCommand, addStripeCommand, addFactorySnrCommand, addNdtCommand, addFilterCommand, addResizeCommand,
    addInfoCommand, addDefectsCommand, addPreviewCommand, addBase64Command, addExplainCommand, addCompletionCommand,
    addVersionCommand;

void addCommands(CLI::App& app, Command& chosen) {
    for (AddCommand* const add :
         {addDemoCommand, addCheckCommand, addSnrCommand, addReportCommand, addCompareCommand, addTrendCommand,
          addWatchCommand, addStripeCommand, addFactorySnrCommand, addNdtCommand, addFilterCommand, addResizeCommand,
          addInfoCommand, addDefectsCommand, addPreviewCommand, addBase64Command, addExplainCommand,
          addCompletionCommand, addVersionCommand})
        add(app, chosen);
}

}  // namespace qx::tool
