#pragma once

/// What the measured processes do. Each runs until SIGTERM and then writes "packets <number>" to its standard output.

/// Receives NFLOG datagrams and counts their messages, nothing more: the least that a listener can cost.
int runBareReceiver();

/// The firewall sensor with the real dispatcher behind it and a core that takes every event.
int runSensor();
