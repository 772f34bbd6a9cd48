#pragma once

#include <algorithm>
#include <string_view>

namespace ids {

/// Where the unit writes core files, named <process id>_<process name>_<time>.
inline constexpr std::string_view coreDumpFolder = "/ovi-cache/core/ids/";

/// The unit's trusted execution environment.
inline constexpr std::string_view teeName = "OP-TEE";

// Known processes of the unit, by their kernel names. Each set is sorted for binary search.
// clang-format off

inline constexpr std::string_view knownSystemDaemons[] = {
    "daemon_cl", "swl_resmgr", "systemd-tmpfile", "systemd-udevd",
};

inline constexpr std::string_view knownPlatformProcesses[] = {
    "CCM", "GnssDriverProc", "PositioningProc", "PositioningProcHD", "bridge", "cmanlan", "cmanwan", "cmanwlan",
    "connectivity_launcher", "core_dumper", "create_dump.sh", "diag", "elog", "elogpipe", "ethpdurecv",
    "ethpdusnoop", "fsync", "gpio_util", "hcitunnel", "ids", "iptables-restor", "manifestmgr", "mdns-forwarder",
    "mqtt", "nad", "ovilogger", "ps", "reset_wlan.sh", "rsi_gateway_con", "seclauncher", "secstat", "sed", "srelay",
    "swdlclient", "system_monitor", "systemctl", "telmux_someip_f", "test_oviGnss", "timesync", "tlogger",
    "unlockd", "uppertester", "vkms", "voice", "wan_down.sh", "wlarm",
};

inline constexpr std::string_view knownTools[] = {
    "apply_keys.sh", "awk", "cat", "chgrp", "chmod", "chown", "chroot", "conntrack", "cp", "cut", "df", "dirname",
    "find", "grep", "ifconfig", "ip", "ip6tables", "iptables", "killall", "ln", "logrotate", "mkdir", "modprobe",
    "mv", "nodeauthenticat", "readlink", "reset_wlan.sh", "rm", "sh", "sleep", "sync", "systemd-cgroups",
    "systemd-sysctl", "tail", "tar", "touch", "wan_up.sh", "wpa_supplicant", "wpa_supplicant.",
};

// clang-format on

static_assert(std::ranges::is_sorted(knownSystemDaemons));
static_assert(std::ranges::is_sorted(knownPlatformProcesses));
static_assert(std::ranges::is_sorted(knownTools));

} // namespace ids
