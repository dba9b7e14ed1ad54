a = 1;
b = "open;
