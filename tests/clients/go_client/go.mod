module clients

go 1.22

require github.com/alexbrainman/odbc v0.0.0-20250601004241-49e6b2bc0cf0

require golang.org/x/sys v0.0.0-20190916202348-b4ddaad3f8a3 // indirect
