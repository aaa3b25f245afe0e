#ifndef SERVICES_CERTMGR_RECORDS_REQUESTRECORDS_H
#define SERVICES_CERTMGR_RECORDS_REQUESTRECORDS_H

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

#include "services/certmgr/records/Counters.h"
#include "services/certmgr/records/DecisionLog.h"
#include "services/certmgr/records/Log.h"

// Notes what becomes of requests, in the log and in the counters. Safe from several threads.
class RequestRecords {
 public:
  RequestRecords(Log log, Counters counters) : log_(log), counters_(std::move(counters)) {}

  // Of any kind; each also gets one of the others when it is answered with a verdict or an error.
  void requested() { counters_.add(Counters::requests); }
  void decided(const Decision& decision);
  // By the service's own fault where `isOurs`, else by what the client wrote.
  void refused(const Asker& asker, std::string_view error, std::chrono::microseconds took,
               bool isOurs);
  void reloaded() const { log_.write(LogLevel::info, "reloaded"); }
  // That this system does not offer some of the restrictions which the service puts on itself.
  void unrestricted(const std::vector<std::string>& missing) const;

  Counters& counters() { return counters_; }

 private:
  Log log_;
  Counters counters_;
};

#endif
