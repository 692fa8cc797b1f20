#pragma once
// What `introoutro --help` and `--version` print.

namespace ns_introoutro {

const char* help_text();
const char* version_text();

}  // namespace ns_introoutro
