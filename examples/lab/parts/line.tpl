<!-- One line of the table. Parameters: app, its application; number, as the front panel names it. -->
<row cstyle='%-6s %12u %8u %10s  %s'>
<value>${number}</value>
<value link=${app}@rxFrames></value>
<value link=${app}@rxErrors></value>
<value link=${app}@rxPower, conv=units(dBm=100:%.2f)></value>
<value link=${app}@alarms></value>
</row>
