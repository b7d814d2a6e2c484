#!/opt/Vantor/bin/diag-seal text-script
# dfs-encrypt-string.sh TEXT...: writes the text (several arguments are joined with blanks), compressed and encrypted to
# the diagnostics recipient.
