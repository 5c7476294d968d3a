module vemlo

go 1.19
