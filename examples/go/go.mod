module examples

go 1.19

require vemlo v0.0.0

replace vemlo => /usr/share/gocode/src/vemlo
