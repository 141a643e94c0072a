#pragma once

namespace marrowleaf::bench {

// A realistic note for the benchmarks: a heading, tasks, a list, a quote and a link.
inline constexpr const char* sampleNoteText = R"(# Weekend

- [x] book the train to the coast
- [ ] pack the **rain jacket**
- [ ] call Sam about the bikes

Ideas for Sunday:

1. walk the cliff path
2. lunch at the harbour
3. *maybe* the museum

> remember: the last train back leaves at 18:40

Timetable on [the rail site](https://example.org/trains).
)";

}
