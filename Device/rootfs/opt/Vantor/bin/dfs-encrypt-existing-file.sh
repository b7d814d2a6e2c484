#!/opt/Vantor/bin/diag-seal file-script
# dfs-encrypt-existing-file.sh PATH: writes the file's content, compressed and encrypted to the diagnostics recipient.
