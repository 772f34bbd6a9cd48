#pragma once

/// Receives NFLOG datagrams and counts their messages, nothing more: the least that a listener can cost. Runs until
/// SIGTERM and then writes "packets <number>" to its standard output.
int runBareReceiver();
