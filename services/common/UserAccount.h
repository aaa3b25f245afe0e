#ifndef SERVICES_COMMON_USERACCOUNT_H
#define SERVICES_COMMON_USERACCOUNT_H

#include <sys/types.h>

#include <string>
#include <vector>

// A user of this machine.
struct UserAccount {
  uid_t uid = 0;
  gid_t gid = 0;
  std::vector<gid_t> groups;  // the supplementary ones
  std::string name;           // the number where the user database has no name
  std::string home;           // empty where the user database has none
};

// Looks a user up. One that the user database does not know has the group `gid` alone. Never
// fails otherwise: what cannot be found out is left as said above. Safe from several threads.
UserAccount lookUpUser(uid_t uid, gid_t gid);

#endif
