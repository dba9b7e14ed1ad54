fromMore = 1;
