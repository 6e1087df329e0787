variable a = 1;
variable b = ;
message ("unreachable");
