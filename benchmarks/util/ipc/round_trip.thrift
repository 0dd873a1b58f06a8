namespace cpp bench.thrift
service Player {
  void play();
  void take(1: binary block);
}
