"""Writes MOF with a class of two large instances, whose enumeration answers with about 10 KiB."""
import random

random.seed(1)
WORDS = ["alpha", "beta", "gamma", "delta", "board", "module"]
TEXTS = "ABCDEFGH"

print("class Large { [Key] string Id; %s uint32 N1; uint64 N2; boolean Flag; string Arr[]; };"
      % " ".join("string %s;" % name for name in TEXTS))
for i in range(2):
    texts = " ".join('%s = "%s";' % (name, " ".join(random.choices(WORDS, k=85))) for name in TEXTS)
    print('instance of Large { Id = "%d"; %s N1 = 42; N2 = 12345678901; Flag = true; '
          'Arr = {"one", "two", "three"}; };' % (i, texts))
