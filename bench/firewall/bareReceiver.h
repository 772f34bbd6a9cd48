#pragma once

/// Receives NFLOG datagrams and counts their messages only: the least cost of a listener. Runs until SIGTERM and then
/// writes "packets <number>" to its standard output.
int runBareReceiver();
