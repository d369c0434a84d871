// Sources and channels: the current source of a window, the status of one
// source, relaunching the last source and the current channel's type, each
// read from the simulated set, with its platform calls and log lines.
tarn.load('lib/check.js');

const q = new QDUtil();

const logged = check.logged;

// --- getSourceInfo ---------------------------------------------------------
{
  tarn.sim.clearJournal();
  const [source, lines] = logged(() => q.getSourceInfo(0));
  check.equal(source, 0, 'getSourceInfo(0) answers the main window\'s source, TV (0)');
  check.sameJson(lines, [[2, 'Create source control context']], 'getSourceInfo logs the creation');
  const created = tarn.sim.journal('createSourceControl');
  check.equal(created.length, 1, 'one source control per call');
  check.sameJson(created[0].arguments.slice(0, 2), [1, 0], 'profile 1, the given window');
  check.equal(tarn.sim.journal('SourceControl.getCurrentSource').length, 1,
              'the control is asked for its current source');

  tarn.sim.set('tv.currentSource', 33);
  check.equal(q.getSourceInfo(0), 33, 'follows the set\'s current source');
  check.equal(q.getSourceInfo(1), 0, 'an empty sub window answers 0');
  tarn.sim.set('tv.subSource', 34);
  check.equal(q.getSourceInfo(1), 34, 'the sub window\'s source');
  tarn.sim.clearJournal();
  check.equal(q.getSourceInfo(1.9), 34, 'the window number is truncated toward zero');
  check.equal(tarn.sim.journal('createSourceControl')[0].arguments[1], 1, 'window 1.9 is 1');

  const [unknownWindow, unknownLines] = logged(() => q.getSourceInfo(7));
  check.equal(unknownWindow, 0, 'a window the gateway refuses answers 0');
  check.sameJson(unknownLines, [[2, 'Create source control context']],
                 'the creation line is written even when no control was made');

  tarn.sim.forceResult('createSourceControl', -2);
  check.equal(q.getSourceInfo(0), 0, 'no control: 0');
  tarn.sim.forceResult('SourceControl.getCurrentSource', 0);
  check.equal(q.getSourceInfo(0), 0, 'a failed query answers 0, not the set\'s source');
  check.equal(q.getSourceInfo(), 33, 'no argument is window 0');
}

// --- checkSourceStatus -----------------------------------------------------
{
  tarn.sim.clearJournal();
  const [status, lines] = logged(() => q.checkSourceStatus(33));
  check.equal(status, 1, 'HDMI1 (33) is connected');
  check.sameJson(lines, [[2, 'source[33] - state[1]']], 'the status line, in decimal');
  check.sameJson(tarn.sim.journal('createSourceControl')[0].arguments.slice(0, 2), [1, 0],
                 'profile 1, window 0');
  check.sameJson(tarn.sim.journal('SourceControl.getSourceStatus')[0].arguments[2], [33],
                 'the one source is asked for');
  check.equal(q.checkSourceStatus(35), 0, 'HDMI3 is disconnected: 0');

  const [missing, missingLines] = logged(() => q.checkSourceStatus(99));
  check.equal(missing, 0, 'a source the set does not report answers 0, not -1');
  check.sameJson(missingLines, [[2, 'source[99] - state[0]']], 'and is logged with status 0');
  check.equal(q.checkSourceStatus(-5), 0, 'a negative source is one the set does not report');

  tarn.sim.fire('sourceStatus', 35, 3);
  check.equal(q.checkSourceStatus(35), 3, 'a status change on the set is seen');

  tarn.sim.forceResult('createSourceControl', -2);
  const [noControl, failLines] = logged(() => q.checkSourceStatus(33));
  check.equal(noControl, -1, 'no source control: -1');
  check.sameJson(failLines, [[2, 'TvServiceGateway::createSourceControl fail.']],
                 'the failure line names the platform call');

  tarn.sim.forceResult('SourceControl.getSourceStatus', 0);
  const [failedQuery, queryLines] = logged(() => q.checkSourceStatus(33));
  check.equal(failedQuery, 0, 'a failed status query answers 0');
  check.sameJson(queryLines, [], 'and writes no status line');
}

// --- launchLastSource ------------------------------------------------------
{
  tarn.sim.set('tv.currentSource', 0);
  tarn.sim.set('tv.lastSource', 33);
  tarn.sim.clearJournal();
  const [result, lines] = logged(() => q.launchLastSource('ignored'));
  check.equal(result, true, 'launchLastSource answers true');
  check.sameJson(lines, [[3, 'HandleLaunchLastSource : 0']], 'the status at detail level');
  check.sameJson(tarn.sim.journal('requestTask')[0].arguments, ['last:source', 'launch'],
                 'the task is "launch" of "last:source"');
  check.equal(tarn.sim.get('tv.currentSource'), 33, 'the last source is now current');
  check.equal(tarn.sim.get('tv.lastSource'), 0, 'and the former current is last');
  check.equal(q.getSourceInfo(0), 33, 'getSourceInfo sees the swap');
  q.launchLastSource();
  check.equal(tarn.sim.get('tv.currentSource'), 0, 'launching again swaps back');

  tarn.sim.forceResult('requestTask', -3);
  const [failed, failedLines] = logged(() => q.launchLastSource());
  check.equal(failed, true, 'launchLastSource answers true even when the request fails');
  check.sameJson(failedLines, [[3, 'HandleLaunchLastSource : -3']], 'the failure status is logged');
  check.equal(tarn.sim.get('tv.currentSource'), 0, 'a failed request changes nothing');
}

// --- getCurrentChannelType -------------------------------------------------
{
  tarn.sim.set('tv.currentSource', 0);
  tarn.sim.clearJournal();
  const [type, lines] = logged(() => q.getCurrentChannelType());
  check.equal(type, tarn.sim.get('tv.channel.attributes.1'), 'attribute 1 of the current service');
  check.equal(type, 2, 'the built-in channel\'s type');
  check.sameJson(lines, [[2, 'GetTvMode state 1'], [2, 'GetCurrentServiceInfo state 1'],
                         [2, 'CHANNEL_TYPE : 2']], 'the two statuses and the type are logged');
  check.sameJson(tarn.sim.journal('createServiceNavigation')[0].arguments.slice(0, 2), [1, 0],
                 'navigation profile 1, index 0');
  const info = tarn.sim.journal('ServiceNavigation.getCurrentServiceInfo')[0];
  check.equal(info.arguments[2], tarn.sim.get('tv.tvMode'), 'asked in the TV mode the set gave');
  check.sameJson(info.arguments[3], [12, 16, 41, 15, 18, 1, 2, 6, 37, 4, 13, 14, 22, 110],
                 'the fourteen service attributes, in order');
  check.sameJson(tarn.sim.journal('ServiceData.getAttribute').map((c) => c.arguments[0]), [1],
                 'only attribute 1 is read');
  const dlog = tarn.sim.journal('__dlog_print').map((c) => c.arguments);
  check.equal(dlog.length, 2, 'two platform-log lines');
  check.sameJson(dlog.map((a) => a[0]), [5, 5], 'both at priority 5');
  check.ok(/^src\/bridge\/QDUtilBridge: HandleGetCurrentChannel_Type\(\d+\) > HandleGetCurrentChannel_Type$/
               .test(dlog[0][dlog[0].length - 1]),
           'the entry line carries the file, function and line prefix: ' + dlog[0][dlog[0].length - 1]);
  check.ok(/ > CHANNEL_TYPE 2$/.test(dlog[1][dlog[1].length - 1]), 'the type in the platform log');

  tarn.sim.set('tv.channel.attributes.1', 5);
  check.equal(q.getCurrentChannelType(), 5, 'follows the channel\'s attribute 1');

  tarn.sim.set('tv.currentSource', 33);
  const [offScreen, offLines] = logged(() => q.getCurrentChannelType());
  check.equal(offScreen, -1, 'no current service (HDMI on screen): -1');
  check.sameJson(offLines, [[2, 'GetTvMode state 1'], [2, 'GetCurrentServiceInfo state 0'],
                            [2, 'CHANNEL_TYPE : -1']], 'the failed status is only logged');
  tarn.sim.set('tv.currentSource', 0);

  tarn.sim.remove('tv.channel.attributes.1');
  check.equal(q.getCurrentChannelType(), -1, 'a service without attribute 1: -1');

  tarn.sim.clearJournal();
  tarn.sim.forceResult('createServiceNavigation', -2);
  const [noNavigation, failLines] = logged(() => q.getCurrentChannelType());
  check.equal(noNavigation, -1, 'no navigation: -1');
  check.sameJson(failLines, [[2, 'HandleGetCurrentChannel_Type fail']], 'the failure line');
  const failDlog = tarn.sim.journal('__dlog_print').map((c) => c.arguments[c.arguments.length - 1]);
  check.equal(failDlog.length, 2, 'entry and failure in the platform log');
  check.ok(/ > HandleGetCurrentChannel_Type fail$/.test(failDlog[1]), 'the platform-log failure');
  check.equal(tarn.sim.journal('ServiceNavigation.getTvMode').length, 0, 'nothing is asked without a navigation');
}

check.done();
