#!/opt/Vantor/bin/diag-compress --script
# compress-diag-file.sh FILE: replaces FILE by FILE.gz, whatever FILE's name ends in. FILE.gz appears whole or not at all;
# no link is followed. The lowest level: what the service collects is compressed and encrypted already.
