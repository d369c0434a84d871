import 'widget-kit';
