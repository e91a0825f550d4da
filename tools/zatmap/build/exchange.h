// Putting the files of a new map in place of those of an old one.
#pragma once

#include <string>

namespace zatmap {

// Where an exchange happens: the output folder, and the folder with the new files. While files are
// exchanged one by one the old ones wait in `fresh`/old.
struct ExchangePlaces {
  std::string output;  // without links
  std::string fresh;
};

// Gives new files the rights of the old ones that they replace, as far as the system allows it.
void KeepRights(const ExchangePlaces& places);

// True when the two folders can be exchanged as a whole: nothing but files of a map lies in the
// output folder, nobody stands in it, and the new one can have its rights.
bool CanExchangeWhole(const ExchangePlaces& places);

// Exchanges the folders in one step. False when the system cannot; nothing has changed then.
bool ExchangeWhole(const ExchangePlaces& places);

// Exchanges file by file. Old files go in the order of MadeFiles, new ones come in the opposite
// order: so mapcalc.dat goes first and comes last, and who opens the map in between finds none
// rather than a mixed one. A journal lies in the output folder meanwhile. False, with the reason,
// when the system refuses; the old files are then back in their places.
bool ExchangeFiles(const ExchangePlaces& places, std::string* error);

// True when the output folder's journal tells of an exchange with this folder of new files: the old
// ones may lie there.
bool IsExchanging(const ExchangePlaces& places);

// Finishes an exchange file by file with this folder that was interrupted, or undoes it when that
// cannot be; nothing without one. False, with the reason, when the system refuses both.
bool FinishExchange(const ExchangePlaces& places, std::string* error);

// A journal whose folder is gone goes on to tell that the map is mixed, but leads nowhere any more.
void DisarmJournal(const std::string& output);

// Removes a folder with the files that a build made or replaced. What else lies there goes to the
// output folder: somebody may have put it there at the moment of an exchange. False, with the
// reason, when something stays.
bool ClearAway(const ExchangePlaces& places, std::string* error);

// "TEXT: why the system refused", of the call that has just failed.
std::string Refused(const std::string& text);

}  // namespace zatmap
