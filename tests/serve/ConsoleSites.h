#pragma once

namespace Agent {

/// One of each: in hardware, shared, in conflict, held back, without type.
inline constexpr char const* site =
    "{'groups': ["
    "{'name': 'east', 'tunnelType': 'gre', 'vrf': 'red',"
    " 'decapIps': ['10.1.0.0/16', '10.2.0.0/16', '2001:db8::/32']},"
    "{'name': 'west', 'tunnelType': 'gre', 'vrf': 'red', 'decapIps': ['10.1.0.0/16']},"
    "{'name': 'late', 'tunnelType': 'gre', 'vrf': 'blue', 'decapIps': ['10.2.0.0/16']},"
    "{'name': 'unset', 'tunnelType': 'udp', 'decapIps': ['10.3.0.0/16']},"
    "{'name': 'bare', 'decapIps': ['10.4.0.0/16']}],"
    "'hardware': {'capacity': 10}}";

/// More than hardware has room for.
inline constexpr char const* small =
    "{'groups': [{'name': 'a', 'tunnelType': 'gre', 'decapIps': ['10.1.0.0/16', '10.2.0.0/16']}],"
    "'hardware': {'capacity': 1}}";

}  // namespace Agent
