@0xfbdcffc8ea52d2f7;
using Cxx = import "/capnp/c++.capnp";
$Cxx.namespace("bench::capnp");
struct Status {
  playTime @0 :Int32;
  endTime @1 :Int32;
  speed @2 :Int32;
  status @3 :Int32;
  mediaStatus @4 :Int32;
  width @5 :Int32;
  height @6 :Int32;
  inSeek @7 :Int32;
  totalBytesHigh @8 :Int32;
  totalBytesLow @9 :Int32;
  currentOffsetHigh @10 :Int32;
  currentOffsetLow @11 :Int32;
}
