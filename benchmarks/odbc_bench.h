// Benchmarks that need a server of their own.
#pragma once

namespace qxbench {

// Registers them, or says in one line why not. The server starts when the first of them runs.
void RegisterServerBenchmarks();

}  // namespace qxbench
