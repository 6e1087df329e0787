variable started = 1;
while (1) {}
