// Sinks that are attached to standard output.
#pragma once

#include <string>
#include <vector>

#include <boost/shared_ptr.hpp>

namespace io {

class ICoutSink {
  public:
    virtual void write(const std::string& text) = 0;
    virtual ~ICoutSink() = default;
};

/// Gives each text to all sinks, in the order in which they were attached. Used by one thread at a
/// time.
class CCoutMultiplexor {
  public:
    ~CCoutMultiplexor();

    void attach(const boost::shared_ptr<ICoutSink>& sink) { sinks.push_back(sink); }
    void write(const std::string& text) const;
    void clear();

  private:
    std::vector<boost::shared_ptr<ICoutSink>> sinks;
};

}  // namespace io
