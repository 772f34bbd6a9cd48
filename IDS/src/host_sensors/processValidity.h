#pragma once

#include <string>

namespace ids {

/// Whether the text is a process id: digits, and at least one. If not, it leaves a line.
bool isProcIdValid(const std::string& id);

/// Whether the text is a process id and the name is not empty. If not, it leaves a line.
bool areValid(const std::string& id, const std::string& name);

} // namespace ids
