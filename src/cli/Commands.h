#pragma once
// The velazip-cli commands. Each takes the arguments after its name and returns the exit code.

#include "CliSupport.h"

namespace cli {

int Classify(Args args);
int List(Args args);
int Info(Args args);
int Extract(Args args);
int Test(Args args);
int Find(Args args);
int Create(Args args);
int Add(Args args);
int Rename(Args args);
int Delete(Args args);
int MakeFolder(Args args);
int Associations(Args args);
int Associate(Args args);
int Release(Args args);
int Email(Args args);

}  // namespace cli
