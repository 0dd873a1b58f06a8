@0xe554fe90784a1a3b;
using Cxx = import "/capnp/c++.capnp";
$Cxx.namespace("bench::capnp");
interface Player {
  play @0 () -> ();
  take @1 (block :Data) -> ();
}
