// The cache commands of twhost, for an operator who inspects or edits a
// saved memory-cache file (the file CMemoryCache::Save writes):
//
//   twhost cache show FILE                          every key, with the type and text of its value
//   twhost cache get FILE KEY                       the value as JSON (its text where JSON has no form)
//   twhost cache find FILE KEY VALUE                the array key that KEY's index gives for VALUE
//   twhost cache put FILE KEY JSON [--index FIELD]  store a value, indexed by FIELD of its rows
//   twhost cache remove FILE KEY                    delete a key
//
// put and remove write a new file beside FILE and rename it over FILE, so an
// interrupted command leaves the old file or the new one, never half of one.
// put makes FILE when it is missing; every other command needs it. On any
// failure FILE stays as it was.
#pragma once

#include "host/CommandContext.h"

namespace CLI {
class App;
}

// Adds "cache" and its five subcommands to app; the one chosen puts its work in context.
void RegisterCacheCommands(CLI::App& app, CCommandContext& context);
