// The identity of the machine.
#pragma once

#include <string>
#include <string_view>

namespace quelplatform {

/// `text` as 8 characters: shorter text is padded on the left with '0', longer text cut.
std::string fittedMachineId(std::string_view text);

/// 8 characters 0-9 and A-Z that follow from the machine's own name or number.
std::string machineIdFrom(std::string_view machine);

/// The identifier in force: that of quelmetra.ini, else one that follows from /etc/machine-id, else from the host name.
std::string machineId();

}  // namespace quelplatform
